#include "ui/settings/SettingsWindow.h"

#include "ui/Icons.h"
#include "ui/PanelStyle.h"
#include "ui/settings/SettingsForm.h"
#include "ui/settings/SettingsPageFactory.h"

#include <QHBoxLayout>
#include <QListWidget>
#include <QStackedWidget>

using namespace Qt::StringLiterals;

SettingsWindow::SettingsWindow(SettingsContext context, QWidget* parent)
    : QWidget(parent), m_context(context), m_sidebar(new QListWidget(this)),
      m_stack(new QStackedWidget(this)) {
    setObjectName(u"settingsWindow"_s);
    setWindowTitle(u"Quillet 设置"_s);
    setWindowIcon(Icons::app());
    setAttribute(Qt::WA_StyledBackground);
    setStyleSheet(SettingsForm::styleSheet());
    // The panel's type, inherited by every control of every page.
    setFont(PanelStyle::textFont(13));
    resize(760, 560);
    if (!m_context.showPage)
        m_context.showPage = [this](SettingsPage page) {
            showPage(page);
        };

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    m_sidebar->setObjectName(u"settingsSidebar"_s);
    m_sidebar->setFixedWidth(150);
    m_sidebar->setFrameShape(QFrame::NoFrame);
    for (SettingsPage page : SettingsPages::all()) {
        auto* item = new QListWidgetItem(SettingsPages::title(page), m_sidebar);
        item->setData(Qt::UserRole, static_cast<int>(page));
        // Empty stand-ins keep the stack's indices in the side bar's order.
        m_stack->addWidget(new QWidget(m_stack));
    }
    layout->addWidget(m_sidebar);
    layout->addWidget(m_stack, 1);
    connect(m_sidebar, &QListWidget::currentRowChanged, this, [this](int row) {
        if (row >= 0 && row < SettingsPages::all().size())
            showPage(SettingsPages::all()[row]);
    });
    showPage(SettingsPage::general);
}

QWidget* SettingsWindow::page(SettingsPage page) {
    if (QWidget* built = m_pages.value(page))
        return built;
    const int index = static_cast<int>(SettingsPages::all().indexOf(page));
    QWidget* built = makeSettingsPage(page, m_context, m_stack);
    built->setObjectName(u"page."_s + SettingsPages::name(page));
    QWidget* standIn = m_stack->widget(index);
    m_stack->insertWidget(index, built);
    m_stack->removeWidget(standIn);
    standIn->deleteLater();
    m_pages.insert(page, built);
    return built;
}

void SettingsWindow::showPage(SettingsPage shown) {
    m_current = shown;
    m_stack->setCurrentWidget(page(shown));
    const int row = static_cast<int>(SettingsPages::all().indexOf(shown));
    if (m_sidebar->currentRow() != row)
        m_sidebar->setCurrentRow(row);
    Q_EMIT pageShown(shown);
}

void SettingsWindow::present(SettingsPage shown) {
    showPage(shown);
    present();
}

void SettingsWindow::present() {
    show();
    raise();
    activateWindow();
}
