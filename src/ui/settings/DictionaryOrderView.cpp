#include "ui/settings/DictionaryOrderView.h"

#include "dictionary/DictionaryListing.h"
#include "dictionary/WordSourceCatalog.h"
#include "settings/DictionaryOrder.h"
#include "settings/Preferences.h"
#include "ui/PanelStyle.h"
#include "ui/settings/SettingsForm.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPainter>
#include <QPushButton>
#include <QStyledItemDelegate>
#include <QTimer>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int identifierRole = Qt::UserRole;
constexpr int glossRole = Qt::UserRole + 1;
constexpr int installedRole = Qt::UserRole + 2;

// A row: its place in the order (for the order list), the dictionary's name, and on the
// right a tag saying it glosses in Chinese, or that it is no longer installed.
class DictionaryRowDelegate : public QStyledItemDelegate {
public:
    DictionaryRowDelegate(bool numbered, QObject* parent)
        : QStyledItemDelegate(parent), m_numbered(numbered) {}

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        return {QStyledItemDelegate::sizeHint(option, index).width(), 34};
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        QStyleOptionViewItem background = option;
        initStyleOption(&background, index);
        background.text.clear();
        const QWidget* view = option.widget;
        view->style()->drawControl(QStyle::CE_ItemViewItem, &background, painter, view);

        painter->save();
        QRect area = option.rect.adjusted(12, 0, -10, 0);
        const QFont tagFont = PanelStyle::textFont(11);
        QString tag;
        QColor tagColour = PanelStyle::accent();
        if (!index.data(installedRole).toBool()) {
            tag = u"未安装"_s;
            tagColour = PanelStyle::tertiaryText();
        } else if (index.data(glossRole).toBool()) {
            tag = u"中文释义"_s;
        }
        if (!tag.isEmpty()) {
            const int width = QFontMetrics(tagFont).horizontalAdvance(tag) + 12;
            const QRect pill(area.right() - width, area.center().y() - 9, width, 18);
            painter->setRenderHint(QPainter::Antialiasing);
            QColor fill = tagColour;
            fill.setAlpha(40);
            painter->setPen(Qt::NoPen);
            painter->setBrush(fill);
            painter->drawRoundedRect(pill, 5, 5);
            painter->setFont(tagFont);
            painter->setPen(tagColour);
            painter->drawText(pill, Qt::AlignCenter, tag);
            area.setRight(pill.left() - 8);
        }
        if (m_numbered) {
            painter->setFont(PanelStyle::latinFont(12));
            painter->setPen(PanelStyle::tertiaryText());
            painter->drawText(area, Qt::AlignVCenter | Qt::AlignLeft,
                              QString::number(index.row() + 1));
            area.setLeft(area.left() + 24);
        }
        painter->setFont(PanelStyle::textFont(13));
        painter->setPen(PanelStyle::primaryText());
        const QString name = index.data(Qt::DisplayRole).toString();
        painter->drawText(area, Qt::AlignVCenter | Qt::AlignLeft,
                          painter->fontMetrics().elidedText(name, Qt::ElideRight, area.width()));
        painter->restore();
    }

private:
    bool m_numbered;
};

QListWidget* rowList(const QString& name, bool numbered, QWidget* parent) {
    auto* list = new QListWidget(parent);
    list->setObjectName(name);
    list->setItemDelegate(new DictionaryRowDelegate(numbered, list));
    list->setSelectionMode(QAbstractItemView::SingleSelection);
    list->setUniformItemSizes(true);
    list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    return list;
}

QPushButton* smallButton(const QString& name, const QString& text, QWidget* parent) {
    auto* button = new QPushButton(text, parent);
    button->setObjectName(name);
    button->setProperty("role", u"secondary"_s);
    button->setFont(PanelStyle::textFont(13));
    return button;
}

void fill(QListWidget* list, const QList<DictionaryListing::Row>& rows) {
    const QListWidgetItem* current = list->currentItem();
    const QString selected = current ? current->data(identifierRole).toString() : QString();
    list->clear();
    for (const DictionaryListing::Row& row : rows) {
        auto* item = new QListWidgetItem(row.displayName, list);
        item->setData(identifierRole, row.identifier);
        item->setData(glossRole, row.chineseGloss);
        item->setData(installedRole, row.installed);
        item->setToolTip(row.identifier);
        if (row.identifier == selected)
            list->setCurrentItem(item);
    }
    // Room for every row up to eight, so short lists need no scrolling.
    list->setFixedHeight(34 * std::clamp(static_cast<int>(rows.size()), 1, 8) + 6);
}

QStringList identifiers(const QListWidget* list) {
    QStringList shown;
    for (int row = 0; row < list->count(); ++row)
        shown.append(list->item(row)->data(identifierRole).toString());
    return shown;
}

QString currentIdentifier(const QListWidget* list) {
    const QListWidgetItem* item = list->currentItem();
    return item ? item->data(identifierRole).toString() : QString();
}

} // namespace

DictionaryOrderView::DictionaryOrderView(Preferences& preferences, const WordSourceCatalog& catalog,
                                         QWidget* parent)
    : QWidget(parent), m_preferences(preferences), m_catalog(catalog),
      m_order(rowList(u"dictionaryOrder"_s, true, this)),
      m_up(smallButton(u"moveUpButton"_s, u"上移"_s, this)),
      m_down(smallButton(u"moveDownButton"_s, u"下移"_s, this)),
      m_remove(smallButton(u"removeButton"_s, u"移除"_s, this)),
      m_removedTitle(SettingsForm::hint(u"已移除的词典（不参与查询）："_s, this)),
      m_removed(rowList(u"removedDictionaries"_s, false, this)),
      m_restore(smallButton(u"restoreButton"_s, u"恢复"_s, this)),
      m_wholeSystemNote(SettingsForm::hint(u"⚠ 当前系统仅支持显示排在最前的词典。"_s, this)) {
    m_order->setDragDropMode(QAbstractItemView::InternalMove);
    m_order->setDefaultDropAction(Qt::MoveAction);
    m_wholeSystemNote->setObjectName(u"wholeSystemNote"_s);
    m_wholeSystemNote->setProperty("tone", u"warning"_s);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addWidget(m_order);
    layout->addLayout(SettingsForm::row({m_up, m_down, m_remove}));
    layout->addWidget(m_wholeSystemNote);
    layout->addWidget(m_removedTitle);
    layout->addWidget(m_removed);
    layout->addLayout(SettingsForm::row({m_restore}));

    // A drop moves the row in the model; older Qt versions remove and insert it instead.
    QAbstractItemModel* model = m_order->model();
    connect(model, &QAbstractItemModel::rowsMoved, this, &DictionaryOrderView::queueSave);
    connect(model, &QAbstractItemModel::rowsInserted, this, &DictionaryOrderView::queueSave);
    connect(m_order, &QListWidget::currentRowChanged, this, &DictionaryOrderView::updateButtons);
    connect(m_removed, &QListWidget::currentRowChanged, this, &DictionaryOrderView::updateButtons);
    connect(m_up, &QPushButton::clicked, this, [this] { move(-1); });
    connect(m_down, &QPushButton::clicked, this, [this] { move(1); });
    connect(m_remove, &QPushButton::clicked, this, &DictionaryOrderView::removeCurrent);
    connect(m_restore, &QPushButton::clicked, this, &DictionaryOrderView::restoreCurrent);
    connect(&m_preferences, &SettingsObject::changed, this, [this](Settings::Id setting) {
        if (setting == Settings::Id::dictionaryOrder ||
            setting == Settings::Id::removedDictionaries)
            reload();
    });
    m_catalog.whenChanged(this, [this] { reload(); });
    reload();
}

void DictionaryOrderView::reload() {
    const DictionaryListing listing =
        DictionaryListing::of(m_catalog, m_preferences.removedDictionaries());
    m_filling = true;
    fill(m_order, listing.order);
    fill(m_removed, listing.removed);
    m_filling = false;
    m_wholeSystemNote->setVisible(!listing.readsEachDictionary);
    m_removedTitle->setVisible(!listing.removed.isEmpty());
    m_removed->setVisible(!listing.removed.isEmpty());
    m_restore->setVisible(!listing.removed.isEmpty());
    updateButtons();
}

void DictionaryOrderView::queueSave() {
    if (m_filling || m_saveQueued)
        return;
    // After the drop has finished: mid-way the dragged row may be missing from the list.
    m_saveQueued = true;
    QTimer::singleShot(0, this, [this] {
        m_saveQueued = false;
        saveShownOrder();
    });
}

void DictionaryOrderView::saveShownOrder() {
    const QStringList shown = identifiers(m_order);
    updateButtons();
    m_order->viewport()->update(); // the numbers follow the rows
    if (shown == m_preferences.effectiveDictionaryOrder())
        return;
    m_preferences.setDictionaryOrder(
        DictionaryOrder::arranged(m_preferences.dictionaryOrder(), shown));
}

void DictionaryOrderView::move(int by) {
    const int from = m_order->currentRow();
    const int to = from + by;
    if (from < 0 || to < 0 || to >= m_order->count())
        return;
    m_filling = true;
    QListWidgetItem* item = m_order->takeItem(from);
    m_order->insertItem(to, item);
    m_order->setCurrentItem(item);
    m_filling = false;
    saveShownOrder();
}

void DictionaryOrderView::removeCurrent() {
    const QString identifier = currentIdentifier(m_order);
    // A lookup needs at least one dictionary to ask.
    if (identifier.isEmpty() || m_order->count() < 2)
        return;
    QStringList removed = m_preferences.removedDictionaries();
    if (!removed.contains(identifier))
        removed.append(identifier);
    m_preferences.setRemovedDictionaries(removed);
}

void DictionaryOrderView::restoreCurrent() {
    const QString identifier = currentIdentifier(m_removed);
    if (identifier.isEmpty())
        return;
    QStringList removed = m_preferences.removedDictionaries();
    removed.removeAll(identifier);
    m_preferences.setRemovedDictionaries(removed);
}

void DictionaryOrderView::updateButtons() {
    const int row = m_order->currentRow();
    m_up->setEnabled(row > 0);
    m_down->setEnabled(row >= 0 && row + 1 < m_order->count());
    m_remove->setEnabled(row >= 0 && m_order->count() > 1);
    m_restore->setEnabled(m_removed->currentRow() >= 0);
}
