#pragma once

#include <QTimer>
#include <QWidget>

// A small activity indicator of fading spokes; it only ticks while it is visible.
class Spinner : public QWidget {
    Q_OBJECT
public:
    explicit Spinner(QWidget* parent = nullptr);
    QSize sizeHint() const override { return {16, 16}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    QTimer m_tick;
    int m_step = 0;
};
