#include "ui/settings/LookupTriggersSection.h"

#include "capture/AccessibilityAuthorization.h"
#include "capture/HotKeyCenter.h"
#include "platform/HotKeyNames.h"
#include "settings/Preferences.h"
#include "ui/settings/GrantRequest.h"
#include "ui/settings/HotKeyField.h"
#include "ui/settings/SettingsForm.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

using Method = TriggerSettings::Method;
using PointerKey = TriggerSettings::PointerKey;

quint32 modifierOf(PointerKey key) {
    switch (key) {
    case PointerKey::option:
        return HotKeySpec::option;
    case PointerKey::control:
        return HotKeySpec::control;
    case PointerKey::command:
        return HotKeySpec::command;
    }
    return HotKeySpec::option;
}

} // namespace

LookupTriggersSection::LookupTriggersSection(SettingsContext& context, QWidget* parent)
    : QWidget(parent), m_context(context), m_triggers(context.triggers) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(10);
    addMethod(column);
    addSelection(column);
    addHover(column);
    if (m_context.permissions)
        column->addWidget(SettingsForm::hint(PermissionCenter::ruleText(), this));

    if (PermissionCenter* permissions = m_context.permissions)
        connect(permissions, &PermissionCenter::grantsChanged, this,
                &LookupTriggersSection::showHotKeyState);
    showSettings();
}

void LookupTriggersSection::addMethod(QVBoxLayout* column) {
    column->addWidget(SettingsForm::sectionTitle(u"查询方式"_s, this));
    m_method = new QButtonGroup(this);
    auto* copy = new QRadioButton(u"复制后查询"_s, this);
    copy->setObjectName(u"copyMethod"_s);
    auto* hotKey = new QRadioButton(u"快捷键查询"_s, this);
    hotKey->setObjectName(u"hotKeyMethod"_s);
    m_method->addButton(copy, int(Method::copy));
    m_method->addButton(hotKey, int(Method::hotKey));
    column->addWidget(copy);
    column->addWidget(
        SettingsForm::hint(u"在任意程序里复制英文单词或句子，结果即从屏幕顶部落下。"_s, this));
    column->addWidget(hotKey);
    column->addWidget(SettingsForm::hint(u"选中英文后按下快捷键查询，复制不再触发查询。"_s, this));
    m_methodGrant = grantRequest(Feature::hotKeyLookup, u"methodGrant"_s);
    if (m_methodGrant)
        column->addWidget(m_methodGrant);
    connect(m_method, &QButtonGroup::idClicked, this, [this](int id) {
        showDenial(m_methodGrant,
                   m_triggers.trySetMethod(Method(id), checkFor(Feature::hotKeyLookup)));
        showSettings();
    });

    HotKeyCenter* hotKeys = m_context.hotKeys;
    m_hotKey = new HotKeyField(
        m_triggers.hotKey(),
        [hotKeys](const HotKeySpec& spec) {
            return !hotKeys || hotKeys->isAvailable(spec, HotKeySlotID::lookup);
        },
        this);
    m_hotKey->setObjectName(u"hotKeyField"_s);
    auto* label = new QLabel(u"快捷键"_s, this);
    auto* row = new QHBoxLayout;
    row->setSpacing(8);
    row->addWidget(label, 0, Qt::AlignTop);
    row->addWidget(m_hotKey, 1);
    column->addLayout(row);
    connect(m_hotKey, &HotKeyField::recorded, this,
            [this](const HotKeySpec& spec) { m_triggers.setHotKey(spec); });
}

void LookupTriggersSection::addSelection(QVBoxLayout* column) {
    column->addWidget(SettingsForm::sectionTitle(u"划词与悬停取词"_s, this));
    m_selection = new QCheckBox(u"划词查询"_s, this);
    m_selection->setObjectName(u"selectionLookup"_s);
    column->addWidget(m_selection);
    column->addWidget(SettingsForm::hint(
        u"拖选或双击选中英文，不必复制即查询。密码框和终端里的文字从不读取。"_s, this));
    m_selectionGrant = grantRequest(Feature::selectionLookup, u"selectionGrant"_s);
    if (m_selectionGrant)
        column->addWidget(m_selectionGrant);
    connect(m_selection, &QCheckBox::clicked, this, [this](bool on) {
        showDenial(m_selectionGrant,
                   m_triggers.trySetSelection(on, checkFor(Feature::selectionLookup)));
        showSettings();
    });
}

void LookupTriggersSection::addHover(QVBoxLayout* column) {
    m_pointer = new QCheckBox(u"悬停取词"_s, this);
    m_pointer->setObjectName(u"pointerLookup"_s);
    column->addWidget(m_pointer);
    column->addWidget(
        SettingsForm::hint(u"按住取词键，把指针停在英文单词上，即查询该词。"_s, this));
    m_pointerGrant = grantRequest(Feature::pointerLookup, u"pointerGrant"_s);
    if (m_pointerGrant)
        column->addWidget(m_pointerGrant);
    connect(m_pointer, &QCheckBox::clicked, this, [this](bool on) {
        showDenial(m_pointerGrant,
                   m_triggers.trySetPointerLookup(on, checkFor(Feature::pointerLookup)));
        showSettings();
    });

    m_pointerKey = new QComboBox(this);
    m_pointerKey->setObjectName(u"pointerKey"_s);
    for (const PointerKey key : {PointerKey::option, PointerKey::control, PointerKey::command})
        m_pointerKey->addItem(HotKeyNames::modifierName(modifierOf(key)), int(key));
    connect(m_pointerKey, &QComboBox::activated, this, [this](int index) {
        m_triggers.setPointerKey(PointerKey(m_pointerKey->itemData(index).toInt()));
    });
    column->addLayout(SettingsForm::row({new QLabel(u"取词键"_s, this), m_pointerKey}));

    m_dwell = new QDoubleSpinBox(this);
    m_dwell->setObjectName(u"hoverDwell"_s);
    m_dwell->setRange(0, 10);
    m_dwell->setDecimals(2);
    m_dwell->setSingleStep(0.05);
    m_dwell->setSuffix(u" 秒"_s);
    // Stored when an edit is done, not at every keystroke of it.
    m_dwell->setKeyboardTracking(false);
    connect(m_dwell, &QDoubleSpinBox::valueChanged, this,
            [this](double seconds) { m_context.preferences.setHoverDwellSeconds(seconds); });
    column->addLayout(SettingsForm::row(
        {new QLabel(u"指针停留"_s, this), m_dwell, SettingsForm::hint(u"后取词"_s, this)}));
}

TriggerSettings::PermissionCheck LookupTriggersSection::checkFor(Feature feature) const {
    return m_context.permissions ? m_context.permissions->checkFor(feature)
                                 : TriggerSettings::PermissionCheck();
}

GrantRequest* LookupTriggersSection::grantRequest(Feature feature, const QString& name) {
    if (!m_context.permissions)
        return nullptr;
    auto* grant = new GrantRequest(*m_context.permissions, feature, this);
    grant->setObjectName(name);
    return grant;
}

void LookupTriggersSection::showDenial(GrantRequest* grant,
                                       const std::optional<TriggerSettings::Denial>& denial) {
    if (!grant)
        return;
    if (denial)
        grant->refuse(*denial);
    else
        grant->clear();
}

void LookupTriggersSection::showSettings() {
    const bool hotKey = m_triggers.method() == Method::hotKey;
    m_method->button(int(m_triggers.method()))->setChecked(true);
    m_hotKey->setCombination(m_triggers.hotKey());
    m_selection->setChecked(m_triggers.selectionEnabled());
    m_pointer->setChecked(m_triggers.pointerLookupEnabled());
    // A switch that is on now needs no grant any more.
    if (hotKey && m_methodGrant)
        m_methodGrant->clear();
    if (m_triggers.selectionEnabled() && m_selectionGrant)
        m_selectionGrant->clear();
    if (m_triggers.pointerLookupEnabled() && m_pointerGrant)
        m_pointerGrant->clear();
    m_pointerKey->setCurrentIndex(m_pointerKey->findData(int(m_triggers.pointerKey())));
    const QSignalBlocker quiet(m_dwell);
    m_dwell->setValue(m_context.preferences.hoverDwellSeconds());
    showHotKeyState();
}

void LookupTriggersSection::showHotKeyState() {
    const std::optional<HotKeySpec>& spec = m_triggers.hotKey();
    const bool shouldBeBound = m_context.hotKeys && spec && m_triggers.method() == Method::hotKey &&
                               (!m_context.accessibility || m_context.accessibility->isTrusted());
    m_hotKey->setRegistered(!shouldBeBound ||
                            m_context.hotKeys->isRegistered(HotKeySlotID::lookup, *spec));
}
