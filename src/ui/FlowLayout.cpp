#include "ui/FlowLayout.h"

#include <QWidget>
#include <algorithm>

FlowLayout::FlowLayout(QWidget* parent) : QLayout(parent) {
    setContentsMargins(0, 0, 0, 0);
}

FlowLayout::~FlowLayout() {
    clear();
}

void FlowLayout::addWidget(QWidget* widget, bool afterSpace) {
    addChildWidget(widget);
    m_entries.append({new QWidgetItem(widget), afterSpace});
    invalidate();
}

void FlowLayout::clear() {
    while (QLayoutItem* item = takeAt(0)) {
        delete item->widget();
        delete item;
    }
}

void FlowLayout::addItem(QLayoutItem* item) {
    m_entries.append({item, true});
    invalidate();
}

int FlowLayout::count() const {
    return static_cast<int>(m_entries.size());
}

QLayoutItem* FlowLayout::itemAt(int index) const {
    return index >= 0 && index < m_entries.size() ? m_entries[index].item : nullptr;
}

QLayoutItem* FlowLayout::takeAt(int index) {
    if (index < 0 || index >= m_entries.size())
        return nullptr;
    QLayoutItem* item = m_entries.takeAt(index).item;
    invalidate();
    return item;
}

int FlowLayout::heightForWidth(int width) const {
    return arrange(QRect(0, 0, width, 0), false);
}

QSize FlowLayout::sizeHint() const {
    // Everything on one line; the height that width really needs comes from heightForWidth.
    int width = 0;
    int height = 0;
    for (const Entry& entry : m_entries) {
        if (entry.item->isEmpty())
            continue;
        const QSize size = entry.item->sizeHint();
        width += size.width() + (width > 0 && entry.afterSpace ? m_wordSpacing : 0);
        height = std::max(height, size.height());
    }
    const QMargins margins = contentsMargins();
    return QSize(width, height).grownBy(margins);
}

QSize FlowLayout::minimumSize() const {
    QSize size;
    for (const Entry& entry : m_entries) {
        if (!entry.item->isEmpty())
            size = size.expandedTo(entry.item->minimumSize());
    }
    return size.grownBy(contentsMargins());
}

void FlowLayout::setGeometry(const QRect& rect) {
    QLayout::setGeometry(rect);
    arrange(rect, true);
}

int FlowLayout::arrange(const QRect& rect, bool apply) const {
    const QMargins margins = contentsMargins();
    const QRect area = rect.marginsRemoved(margins);
    const int width = std::max(1, area.width());
    int x = 0;
    int y = 0;
    int lineHeight = 0;
    bool lineEmpty = true;
    const auto newLine = [&] {
        y += lineHeight + m_lineSpacing;
        x = 0;
        lineHeight = 0;
        lineEmpty = true;
    };

    qsizetype next = 0;
    while (next < m_entries.size()) {
        if (m_entries[next].item->isEmpty()) {
            ++next;
            continue;
        }
        // A run: this item and the items glued to it, which keep to one line if they can.
        qsizetype end = next + 1;
        int runWidth = m_entries[next].item->sizeHint().width();
        for (; end < m_entries.size() && !m_entries[end].afterSpace; ++end) {
            if (!m_entries[end].item->isEmpty())
                runWidth += m_entries[end].item->sizeHint().width();
        }
        if (!lineEmpty && x + m_wordSpacing + runWidth > width)
            newLine();
        else if (!lineEmpty)
            x += m_wordSpacing;

        for (qsizetype i = next; i < end; ++i) {
            QLayoutItem* item = m_entries[i].item;
            if (item->isEmpty())
                continue;
            QSize size = item->sizeHint();
            size.setWidth(std::min(size.width(), width));
            // A run wider than the whole line breaks where it has to.
            if (!lineEmpty && x + size.width() > width)
                newLine();
            if (apply)
                item->setGeometry(QRect(QPoint(area.left() + x, area.top() + y), size));
            x += size.width();
            lineHeight = std::max(lineHeight, size.height());
            lineEmpty = false;
        }
        next = end;
    }
    const int used = lineEmpty && y == 0 ? 0 : y + lineHeight;
    return used + margins.top() + margins.bottom();
}
