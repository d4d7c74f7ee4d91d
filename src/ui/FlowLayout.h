#pragma once

#include <QLayout>
#include <QList>

// Lays widgets out left to right in lines as wide as it is given, the way text wraps: a line
// breaks only where a space was, so an item that follows the one before it without a space
// (a comma after a word) moves to the next line with that item.
class FlowLayout : public QLayout {
public:
    explicit FlowLayout(QWidget* parent = nullptr);
    ~FlowLayout() override;

    // `afterSpace`: a space separates this widget from the one before it.
    void addWidget(QWidget* widget, bool afterSpace);
    void setWordSpacing(int pixels) { m_wordSpacing = pixels; }
    void setLineSpacing(int pixels) { m_lineSpacing = pixels; }
    void clear();

    void addItem(QLayoutItem* item) override;
    int count() const override;
    QLayoutItem* itemAt(int index) const override;
    QLayoutItem* takeAt(int index) override;
    Qt::Orientations expandingDirections() const override { return {}; }
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSize() const override;
    void setGeometry(const QRect& rect) override;

private:
    struct Entry {
        QLayoutItem* item;
        bool afterSpace;
    };
    // Places the items in `rect` (only measuring unless `apply`); returns the height used.
    int arrange(const QRect& rect, bool apply) const;

    QList<Entry> m_entries;
    int m_wordSpacing = 6;
    int m_lineSpacing = 6;
};
