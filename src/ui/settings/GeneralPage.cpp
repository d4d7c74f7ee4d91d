#include "ui/settings/GeneralPage.h"

#include "settings/InterfaceSettings.h"
#include "settings/Preferences.h"
#include "settings/TriggerSettings.h"
#include "ui/settings/LookupTriggersSection.h"
#include "ui/settings/SettingsForm.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

using ReopenTarget = Preferences::ReopenTarget;

QCheckBox* checkBox(const QString& text, const QString& name, QWidget* parent) {
    auto* box = new QCheckBox(text, parent);
    box->setObjectName(name);
    return box;
}

} // namespace

GeneralPage::GeneralPage(SettingsContext& context, QWidget* parent)
    : QWidget(parent), m_context(context),
      m_launchAtLogin(checkBox(u"开机自启"_s, u"launchAtLogin"_s, this)),
      m_launchAtLoginFailure(SettingsForm::refusal(this)),
      m_triggers(new LookupTriggersSection(context, this)),
      m_speaks(checkBox(u"查词时朗读"_s, u"speaksOnLookup"_s, this)),
      m_idleNotch(checkBox(u"空闲时显示刘海"_s, u"showsIdleNotch"_s, this)),
      m_expandsOnHover(checkBox(u"指针移到刘海上时展开"_s, u"expandsOnNotchHover"_s, this)),
      m_reopenTarget(new QComboBox(this)) {
    Preferences& preferences = context.preferences;
    TriggerSettings& triggers = context.triggers;
    InterfaceSettings& interface = context.interface;

    QVBoxLayout* column = SettingsForm::pageColumn(this, u"通用"_s);
    column->addWidget(SettingsForm::sectionTitle(u"启动"_s));
    column->addWidget(m_launchAtLogin);
    m_launchAtLoginFailure->setObjectName(u"launchAtLoginFailure"_s);
    column->addWidget(m_launchAtLoginFailure);

    column->addWidget(m_triggers);

    // The video-subtitle switches go here, between what starts a lookup and the panel.

    column->addWidget(SettingsForm::sectionTitle(u"面板"_s));
    QLabel* autoHide =
        SettingsForm::hint(u"查询结果显示 %1 秒后自动收起。"_s.arg(preferences.autoHideSeconds()));
    autoHide->setObjectName(u"autoHide"_s);
    column->addWidget(autoHide);
    column->addWidget(m_speaks);
    column->addWidget(m_idleNotch);
    column->addWidget(SettingsForm::hint(u"关闭后，面板只在查询时出现。"_s));
    column->addWidget(m_expandsOnHover);
    column->addWidget(SettingsForm::hint(u"关闭后，点按刘海才展开。"_s));

    column->addWidget(SettingsForm::sectionTitle(u"再次打开 App"_s));
    m_reopenTarget->setObjectName(u"reopenTarget"_s);
    m_reopenTarget->addItem(u"设置"_s, int(ReopenTarget::settings));
    m_reopenTarget->addItem(u"单词本"_s, int(ReopenTarget::notebook));
    column->addLayout(
        SettingsForm::row({new QLabel(u"点按 App 图标时打开"_s, this), m_reopenTarget}));

    connect(m_launchAtLogin, &QCheckBox::clicked, &preferences,
            [&preferences](bool on) { preferences.setLaunchAtLogin(on); });
    connect(m_speaks, &QCheckBox::clicked, &preferences,
            [&preferences](bool on) { preferences.setSpeaksOnLookup(on); });
    connect(m_idleNotch, &QCheckBox::clicked, &interface,
            [&interface](bool on) { interface.setShowsIdleNotch(on); });
    connect(m_expandsOnHover, &QCheckBox::clicked, &triggers,
            [&triggers](bool on) { triggers.setExpandsOnNotchHover(on); });
    connect(m_reopenTarget, &QComboBox::activated, &preferences, [this, &preferences](int index) {
        preferences.setReopenTarget(ReopenTarget(m_reopenTarget->itemData(index).toInt()));
    });

    for (SettingsObject* settings :
         std::initializer_list<SettingsObject*>{&preferences, &triggers, &interface})
        connect(settings, &SettingsObject::changed, this, &GeneralPage::showSettings);
    connect(&preferences, &Preferences::launchAtLoginFailureChanged, this,
            &GeneralPage::showLaunchAtLoginFailure);
    showSettings();
}

void GeneralPage::showEvent(QShowEvent* event) {
    // The login item lives with the system, which tells no one when it changes.
    m_context.preferences.syncLaunchAtLoginFromSystem();
    QWidget::showEvent(event);
}

void GeneralPage::showSettings() {
    const Preferences& preferences = m_context.preferences;
    m_launchAtLogin->setChecked(preferences.launchAtLogin());
    m_triggers->showSettings();
    m_speaks->setChecked(preferences.speaksOnLookup());
    m_idleNotch->setChecked(m_context.interface.showsIdleNotch());
    m_expandsOnHover->setChecked(m_context.triggers.expandsOnNotchHover());
    m_reopenTarget->setCurrentIndex(m_reopenTarget->findData(int(preferences.reopenTarget())));
}

void GeneralPage::showLaunchAtLoginFailure() {
    const std::optional<QString>& failure = m_context.preferences.launchAtLoginFailure();
    // The failure reads "开机自启设置失败：" and the system's reason.
    SettingsForm::showRefusal(m_launchAtLoginFailure, failure.value_or(QString()));
    m_launchAtLogin->setChecked(m_context.preferences.launchAtLogin());
}
