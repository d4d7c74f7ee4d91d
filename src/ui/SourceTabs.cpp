#include "ui/SourceTabs.h"

#include "ui/PanelStyle.h"

#include <QButtonGroup>
#include <QPushButton>
#include <QVariant>

using namespace Qt::StringLiterals;

namespace {
constexpr int kSpacing = 6;
constexpr const char* kIdProperty = "sourceId";
} // namespace

SourceTabs::SourceTabs(QWidget* parent) : QWidget(parent), m_group(new QButtonGroup(this)) {
    m_group->setExclusive(true);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    connect(m_group, &QButtonGroup::buttonClicked, this, [this](QAbstractButton* button) {
        Q_EMIT currentChanged(button->property(kIdProperty).toString());
    });
}

void SourceTabs::setTabs(const QList<Tab>& tabs) {
    qDeleteAll(m_buttons);
    m_buttons.clear();
    addTabs(tabs);
    if (!m_buttons.isEmpty())
        m_buttons.first()->setChecked(true);
}

void SourceTabs::addTabs(const QList<Tab>& tabs) {
    const QStringList shown = ids();
    for (const Tab& tab : tabs) {
        if (shown.contains(tab.id))
            continue;
        auto* button = new QPushButton(tab.label, this);
        button->setObjectName(u"sourceTab"_s);
        button->setProperty("role", u"tab"_s);
        button->setProperty(kIdProperty, tab.id);
        button->setToolTip(tab.label);
        button->setCheckable(true);
        button->setFocusPolicy(Qt::NoFocus);
        button->setCursor(Qt::PointingHandCursor);
        button->setFont(PanelStyle::textFont(12, QFont::Medium));
        button->show();
        m_group->addButton(button);
        m_buttons.append(button);
    }
    arrange(width(), true);
    updateGeometry();
}

QStringList SourceTabs::ids() const {
    QStringList result;
    for (const QPushButton* button : m_buttons)
        result.append(button->property(kIdProperty).toString());
    return result;
}

QString SourceTabs::currentId() const {
    const QAbstractButton* checked = m_group->checkedButton();
    return checked ? checked->property(kIdProperty).toString() : QString();
}

bool SourceTabs::setCurrentId(const QString& id) {
    for (QPushButton* button : m_buttons) {
        if (button->property(kIdProperty).toString() == id) {
            button->setChecked(true);
            return true;
        }
    }
    return false;
}

int SourceTabs::arrange(int width, bool apply) const {
    int x = 0;
    int y = 0;
    int rowHeight = 0;
    for (QPushButton* button : m_buttons) {
        button->ensurePolished();
        QSize size = button->sizeHint();
        size.setWidth(std::min(size.width(), std::max(width, 1)));
        if (x > 0 && x + size.width() > width) {
            x = 0;
            y += rowHeight + kSpacing;
            rowHeight = 0;
        }
        if (apply)
            button->setGeometry(x, y, size.width(), size.height());
        x += size.width() + kSpacing;
        rowHeight = std::max(rowHeight, size.height());
    }
    return y + rowHeight;
}

int SourceTabs::heightForWidth(int width) const {
    return arrange(width, false);
}

QSize SourceTabs::sizeHint() const {
    int width = 0;
    for (const QPushButton* button : m_buttons)
        width += button->sizeHint().width() + kSpacing;
    return {width, arrange(width, false)};
}

void SourceTabs::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    arrange(width(), true);
}
