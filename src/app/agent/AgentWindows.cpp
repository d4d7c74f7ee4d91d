#include "AgentWindows.h"

#include "core/AppCore.h"
#include "core/CapabilityModel.h"
#include "core/DiagnosticsExport.h"
#include "logs/EventLog.h"
#include "platform/DictionarySettingsOpener.h"
#include "settings/Preferences.h"
#include "ui/DesktopSessionDetection.h"
#include "ui/onboarding/OnboardingWindow.h"
#include "ui/settings/DictionariesPage.h"
#include "ui/settings/SettingsWindow.h"

using namespace Qt::StringLiterals;

namespace {
// The hand-over reads requests line by line and trims them.
constexpr QByteArrayView kExport = "export-diagnostics";
} // namespace

AgentWindows::AgentWindows(SettingsContext context, DefaultsStore& store, QObject* parent)
    : QObject(parent), m_context(std::move(context)), m_store(store) {
    m_context.store = &m_store;
    EventLog& log = m_context.log;
    m_context.openDictionaryFolder = [&log] {
        if (!DictionarySettingsOpener::open())
            log.append(EventLog::Kind::error, u"设置｜无法打开词典文件夹"_s);
    };
    m_context.capabilityStates = [this] {
        return capabilityStates();
    };
}

AgentWindows::~AgentWindows() {
    closeAll();
}

void AgentWindows::attach(AppCore& core) {
    m_core = &core;
    m_context.hotKeys = core.hotKeys();
    m_context.permissions = core.permissions();
    m_context.accessibility = core.accessibility();
    m_context.screenText = core.screenText();
}

void AgentWindows::closeAll() {
    delete m_onboarding;
    m_settings.reset();
    m_capabilities.reset();
}

void AgentWindows::openSettings(std::optional<SettingsPage> page) {
    if (!m_settings)
        m_settings = std::make_unique<SettingsWindow>(m_context);
    if (page)
        m_settings->present(*page);
    else
        m_settings->present();
}

void AgentWindows::openTranslationSettings() {
    openSettings(SettingsPage::dictionaries);
    if (auto* page = qobject_cast<DictionariesPage*>(m_settings->page(SettingsPage::dictionaries)))
        page->revealTranslation();
}

void AgentWindows::openPermissionsPage() {
    if (m_onboarding && m_onboarding->isVisible())
        return;
    openSettings(SettingsPage::permissions);
}

void AgentWindows::showOnboardingIfFirstRun() {
    m_onboarding = OnboardingWindow::showIfFirstRun({.interface = m_context.interface,
                                                     .triggers = m_context.triggers,
                                                     .lookUp =
                                                         [this](const QString& text) {
                                                             if (m_core)
                                                                 m_core->lookUpOnboardingCopy(text);
                                                         },
                                                     .permissions = m_context.permissions,
                                                     .accessibility = m_context.accessibility,
                                                     .screenText = m_context.screenText,
                                                     .openSettings =
                                                         [this] {
                                                             openSettings();
                                                         }});
}

QStringList AgentWindows::capabilityStates() {
    if (!m_capabilities) {
        m_capabilities = std::make_unique<CapabilityModel>(
            CapabilityModel::Sources{.session = detectDesktopSession(),
                                     .permissions = m_context.permissions,
                                     .accessibility = m_context.accessibility,
                                     .translator = &m_context.translator,
                                     .screenText = m_context.screenText});
    }
    return m_capabilities->lines();
}

void AgentWindows::exportDiagnostics(const QString& folder) {
    const DiagnosticsExport::Outcome outcome = DiagnosticsExport::write(
        {.store = m_store,
         .dictionaries = m_context.dictionaries,
         .removedDictionaries = m_context.preferences.removedDictionaries(),
         .capabilities = capabilityStates()},
        folder);
    if (const auto* exported = std::get_if<DiagnosticsExport::Exported>(&outcome))
        m_context.log.append(EventLog::Kind::result, u"诊断｜已导出到 "_s + exported->path);
    else
        m_context.log.append(EventLog::Kind::error,
                             u"诊断｜"_s + std::get<DiagnosticsExport::Failure>(outcome).message);
}

QByteArray AgentWindows::reopenRequest() {
    return "reopen";
}

QByteArray AgentWindows::exportRequest(const QString& folder) {
    return kExport.toByteArray() + ' ' + folder.toUtf8();
}

void AgentWindows::handleRequest(const QByteArray& request) {
    if (request == kExport || request.startsWith(kExport.toByteArray() + ' ')) {
        exportDiagnostics(QString::fromUtf8(request.sliced(kExport.size()).trimmed()));
        return;
    }
    // The notebook has no window of its own yet: both choices open the settings.
    if (request == reopenRequest())
        openSettings();
}
