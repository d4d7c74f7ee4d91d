#pragma once

#include "ui/settings/SettingsContext.h"
#include "ui/settings/SettingsPage.h"

#include <QByteArray>
#include <QObject>
#include <QPointer>
#include <QString>
#include <memory>
#include <optional>

class AppCore;
class CapabilityModel;
class DefaultsStore;
class OnboardingWindow;
class SettingsWindow;

// The agent's windows and what opens them: the settings (made the first time they are asked
// for, then kept), onboarding on first start, the diagnostics export, and the requests a
// second launch hands over.
class AgentWindows : public QObject {
    Q_OBJECT
public:
    // `context` without the coordinator's services, which `attach` adds.
    AgentWindows(SettingsContext context, DefaultsStore& store, QObject* parent = nullptr);
    ~AgentWindows() override;

    void attach(AppCore& core);
    // Closes every window; called before the coordinator goes, whose services they hold.
    void closeAll();

    void openSettings(std::optional<SettingsPage> page = std::nullopt);
    void openTranslationSettings();
    // Where a grant is given; not while onboarding is open, which shows the grant itself.
    void openPermissionsPage();
    void showOnboardingIfFirstRun();
    // Writes the diagnostics archive into `folder` (the download folder when empty) and logs
    // where it went, or why it could not.
    void exportDiagnostics(const QString& folder);

    // What a later launch hands over, one line: "reopen", or "export-diagnostics" and a folder.
    static QByteArray reopenRequest();
    // `folder` holds no line break.
    static QByteArray exportRequest(const QString& folder);
    void handleRequest(const QByteArray& request);

private:
    QStringList capabilityStates();

    SettingsContext m_context;
    DefaultsStore& m_store;
    AppCore* m_core = nullptr;
    std::unique_ptr<CapabilityModel> m_capabilities;
    std::unique_ptr<SettingsWindow> m_settings;
    QPointer<OnboardingWindow> m_onboarding;
};
