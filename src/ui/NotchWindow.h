#pragma once

#include <QPainterPath>
#include <QPointer>
#include <QVariantAnimation>
#include <QWidget>

class QScreen;

// The panel's top-level window: a frameless, focus-less notch hanging from the top edge of
// a screen. Collapsed it is a small pill; expanded it grows downwards around its content,
// which keeps its final geometry and is revealed as the window grows.
class NotchWindow : public QWidget {
    Q_OBJECT
public:
    explicit NotchWindow(QWidget* content);

    // Grows (or shrinks) to hold content of `contentSize`. Opening from the pill first moves
    // the notch to the screen under the pointer.
    void expandTo(QSize contentSize, int durationMs);
    void collapse(int durationMs);
    bool isExpanded() const { return m_expanded; }
    // The window size that holds content of `contentSize`, margins and shoulders included.
    static QSize windowSizeFor(QSize contentSize);
    // The notch outline: flat along the screen edge, concave shoulders, rounded bottom.
    static QPainterPath outline(QSizeF size);

Q_SIGNALS:
    void pointerEntered();
    void pointerLeft();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    void animateTo(QSize size, int durationMs);
    void applySize(QSize size);
    QScreen* targetScreen() const;

    QWidget* m_content;
    QPointer<QScreen> m_screen;
    QVariantAnimation m_animation;
    bool m_expanded = false;
};
