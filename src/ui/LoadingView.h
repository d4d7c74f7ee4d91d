#pragma once

#include <QWidget>

class QLabel;

// The loading layout: a spinner and the query being looked up, on one line.
class LoadingView : public QWidget {
    Q_OBJECT
public:
    explicit LoadingView(QWidget* parent = nullptr);

    void setQuery(const QString& query);
    const QString& query() const { return m_query; }

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void elide();

    QString m_query;
    QLabel* m_text;
};
