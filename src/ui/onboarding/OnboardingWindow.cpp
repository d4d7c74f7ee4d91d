#include "ui/onboarding/OnboardingWindow.h"

#include "capture/PermissionCenter.h"
#include "core/CapabilityModel.h"
#include "settings/InterfaceSettings.h"
#include "settings/TriggerSettings.h"
#include "ui/DesktopSessionDetection.h"
#include "ui/Icons.h"
#include "ui/PanelStyle.h"
#include "ui/settings/CapabilityRow.h"
#include "ui/settings/SettingsForm.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

using namespace Qt::StringLiterals;

using Id = Capability::Id;

QString OnboardingWindow::copySample() {
    return u"serendipity"_s;
}

QString OnboardingWindow::selectionSample() {
    return u"Reading is to the mind what exercise is to the body."_s;
}

QString OnboardingWindow::hotKeySample() {
    return u"ephemeral"_s;
}

OnboardingWindow* OnboardingWindow::showIfFirstRun(Dependencies dependencies) {
    if (dependencies.interface.sawOnboarding())
        return nullptr;
    auto* window = new OnboardingWindow(std::move(dependencies));
    window->setAttribute(Qt::WA_DeleteOnClose);
    window->show();
    window->raise();
    window->activateWindow();
    return window;
}

OnboardingWindow::OnboardingWindow(Dependencies dependencies, QWidget* parent)
    : QWidget(parent), m_deps(std::move(dependencies)),
      m_capabilities(new CapabilityModel({.session = detectDesktopSession(),
                                          .permissions = m_deps.permissions,
                                          .accessibility = m_deps.accessibility,
                                          .screenText = m_deps.screenText},
                                         this)) {
    setObjectName(u"onboardingWindow"_s);
    setWindowTitle(u"欢迎使用 Quillet"_s);
    setWindowIcon(Icons::app());
    setAttribute(Qt::WA_StyledBackground);
    setStyleSheet(
        SettingsForm::styleSheet() +
        u"QWidget#onboardingWindow { background: %1; }"
        u"QPushButton#finishButton { background: %2; color: %1; }"_s.arg(
            PanelStyle::css(PanelStyle::background()), PanelStyle::css(PanelStyle::accent())));
    resize(600, 680);

    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->setSpacing(0);
    auto* content = new QWidget(this);
    outer->addWidget(content, 1);
    m_column = SettingsForm::pageColumn(content, u"欢迎使用 Quillet"_s);
    addIntroduction();
    addCopySection();
    addSelectionSection();
    addHotKeySection();
    addPermissionSection();
    addTraySection();
    addFooter();

    connect(&m_deps.triggers, &SettingsObject::changed, this, &OnboardingWindow::renderTriggers);
    connect(m_capabilities, &CapabilityModel::changed, this, &OnboardingWindow::renderCapabilities);
    renderTriggers();
    renderCapabilities();
}

void OnboardingWindow::closeEvent(QCloseEvent* event) {
    if (!m_deps.interface.sawOnboarding())
        m_deps.interface.setSawOnboarding(true);
    QWidget::closeEvent(event);
}

void OnboardingWindow::addIntroduction() {
    m_column->addWidget(SettingsForm::hint(
        u"Quillet 在后台陪你读英文：在任何应用里遇到不认识的英文单词或句子，它会从屏幕顶部中央"
        u"落下一个面板，单词给出中文释义，句子给出整句翻译。下面几种查询方式现在就能试。"_s));
}

void OnboardingWindow::addCopySection() {
    m_column->addWidget(SettingsForm::sectionTitle(u"复制查询"_s));
    m_column->addWidget(SettingsForm::hint(
        u"在任何应用里复制英文（Ctrl+C），答案随即出现。试试看：选中下面的单词按 Ctrl+C，"
        u"或者点「试一试」。"_s));
    addSample(u"copy"_s, copySample(), true);
}

void OnboardingWindow::addSelectionSection() {
    m_column->addWidget(SettingsForm::sectionTitle(u"划词查询"_s));
    m_selectionText = SettingsForm::hint({});
    m_column->addWidget(m_selectionText);
    addSample(u"selection"_s, selectionSample(), true);
}

void OnboardingWindow::addHotKeySection() {
    m_column->addWidget(SettingsForm::sectionTitle(u"快捷键查询"_s));
    m_hotKeyText = SettingsForm::hint({});
    m_hotKeyText->setObjectName(u"hotKeyText"_s);
    m_column->addWidget(m_hotKeyText);
    addSample(u"hotKey"_s, hotKeySample(), false);
}

void OnboardingWindow::addPermissionSection() {
    m_column->addWidget(SettingsForm::sectionTitle(u"需要的授权"_s));
    QLabel* rule = SettingsForm::hint(PermissionCenter::ruleText());
    rule->setObjectName(u"ruleText"_s);
    m_column->addWidget(rule);
    m_column->addWidget(
        SettingsForm::hint(u"复制查询不需要任何授权。划词和快捷键要读取其他应用中选中的文字，"
                           u"所以需要「辅助功能」。"_s));
    for (const Id id : {Id::accessibility, Id::session}) {
        auto* row = new CapabilityRow(id, this);
        connect(row, &CapabilityRow::fixRequested, this,
                [this, id] { m_capabilities->askForGrant(id); });
        m_column->addWidget(row);
        m_capabilityRows.append(row);
    }
}

void OnboardingWindow::addTraySection() {
    m_column->addWidget(SettingsForm::sectionTitle(u"托盘图标"_s));
    auto* icon = new QLabel(this);
    icon->setPixmap(Icons::app().pixmap(32, 32));
    QLabel* text = SettingsForm::hint(
        u"Quillet 没有主窗口，平时只在系统托盘里留下这个图标（通常在屏幕顶部或底部面板的一角）。"
        u"点开它的菜单，可以暂停或恢复自动查询、打开设置和事件日志，或者退出。"_s);
    auto* row = new QHBoxLayout;
    row->setSpacing(12);
    row->addWidget(icon, 0, Qt::AlignTop);
    row->addWidget(text, 1);
    m_column->addLayout(row);
}

void OnboardingWindow::addFooter() {
    auto* footer = new QHBoxLayout;
    footer->setContentsMargins(28, 10, 28, 18);
    footer->addStretch(1);
    if (m_deps.openSettings) {
        auto* settings = new QPushButton(u"打开设置"_s, this);
        settings->setObjectName(u"openSettingsButton"_s);
        connect(settings, &QPushButton::clicked, this, [this] { m_deps.openSettings(); });
        footer->addWidget(settings);
    }
    auto* finish = new QPushButton(u"开始使用"_s, this);
    finish->setObjectName(u"finishButton"_s);
    finish->setDefault(true);
    connect(finish, &QPushButton::clicked, this, &QWidget::close);
    footer->addWidget(finish);
    static_cast<QVBoxLayout*>(layout())->addLayout(footer);
}

void OnboardingWindow::addSample(const QString& name, const QString& text, bool withButton) {
    auto* sample = new QLineEdit(text, this);
    sample->setObjectName(u"sample."_s + name);
    sample->setReadOnly(true);
    sample->setFont(PanelStyle::latinFont(15));
    sample->setCursorPosition(0);
    auto* row = new QHBoxLayout;
    row->setSpacing(8);
    row->addWidget(sample, 1);
    if (withButton) {
        auto* tryIt = new QPushButton(u"试一试"_s, this);
        tryIt->setObjectName(u"try."_s + name);
        connect(tryIt, &QPushButton::clicked, this, [this, text] {
            if (m_deps.lookUp)
                m_deps.lookUp(text);
        });
        row->addWidget(tryIt);
    }
    m_column->addLayout(row);
}

void OnboardingWindow::renderTriggers() {
    const TriggerSettings& triggers = m_deps.triggers;
    m_selectionText->setText(
        (triggers.selectionEnabled()
             ? u"划词查询已打开：在其他应用里拖选或双击英文即可查询，不用复制。"_s
             : u"在「设置 › 通用」里打开划词查询后，在其他应用里拖选或双击英文即可查询，不用复制。"_s) +
        u"Quillet 不理会自己窗口里的选择，所以在这里选中不会触发；请到浏览器或阅读器里选一段"
        u"英文试试，或者点「试一试」看看效果。"_s);

    const std::optional<HotKeySpec>& hotKey = triggers.hotKey();
    if (!hotKey) {
        m_hotKeyText->setText(u"还没有设置快捷键，可以在「设置 › 通用」里录制一个。"_s);
        return;
    }
    const QString name = hotKey->displayName();
    m_hotKeyText->setText(
        triggers.method() == TriggerSettings::Method::hotKey
            ? u"选中英文后按 %1，就会查询选中的文字。这里也能试：选中下面的单词，再按 %1。"_s.arg(
                  name)
            : u"在「设置 › 通用」里把查询方式改为「快捷键」后，选中英文再按 %1 即可查询，不用复制。"
              u"改好后可以在这里试：选中下面的单词，再按 %1。"_s.arg(name));
}

void OnboardingWindow::renderCapabilities() {
    for (CapabilityRow* row : m_capabilityRows)
        row->display(m_capabilities->capability(row->id()));
}
