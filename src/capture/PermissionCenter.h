#pragma once

#include "platform/SystemPermissions.h"
#include "settings/TriggerSettings.h"

#include <QList>
#include <QObject>
#include <QSet>
#include <functional>
#include <optional>

class AccessibilityAuthorization;
class DefaultsStore;
class EventLog;

// Which features need which grant, which grants the program has asked for, and the features
// the user turned on before their grant was there: those come on by themselves once it is.
// Main thread only.
class PermissionCenter : public QObject {
    Q_OBJECT
public:
    using Kind = SystemPermissions::Kind;
    enum class Feature { hotKeyLookup, selectionLookup, pointerLookup, screenSubtitles };

    struct Dependencies {
        SystemPermissions& system;
        AccessibilityAuthorization& accessibility;
        DefaultsStore& store;
        TriggerSettings& triggers;
        EventLog& log;
        // Shows a short message (the waiting text) to the user.
        std::function<void(const QString& message)> notify;
        // Shows the program's own prompt for a feature's grant; opens the program's settings
        // on its permissions page. Both may be empty until those windows exist.
        std::function<void(Feature feature)> presentPrompt;
        std::function<void(Kind kind)> openPermissionsPage;
    };

    explicit PermissionCenter(Dependencies dependencies, QObject* parent = nullptr);

    static QString rawName(Kind kind);
    // The grant as the system's settings name it: 辅助功能, 屏幕录制.
    static QString displayName(Kind kind);
    static QString rawName(Feature feature);
    static Kind needs(Feature feature);
    static QString waitingText(Feature feature);
    // How the settings explain the rule to the user.
    static QString ruleText();

    bool isGranted(Kind kind) const;
    bool wasAsked(Kind kind) const { return m_asked.contains(kind); }
    // The grants the settings need, accessibility first.
    static QList<Kind> required(const TriggerSettings& settings);
    // For TriggerSettings::trySetSelection / trySetMethod: refuses settings whose grant is
    // missing, with the feature's waiting text.
    TriggerSettings::PermissionCheck checkFor(Feature feature) const;

    void refresh();
    // The user turned the feature on without its grant: say what happens next, and turn it
    // on once the grant arrives.
    void want(Feature feature);
    // The system's answers changed (any grant): turns on what waited for a grant now given.
    void systemChanged();
    // A feature that was on until its grant went away: it comes back with the grant.
    void awaitGrant(Feature feature);
    const QList<Feature>& wanted() const { return m_wanted; }
    void present(Feature feature);
    // Asks the system once, remembers that it did, and opens the settings pane.
    void requestAccess(Kind kind);
    void openSettingsPane(Kind kind);

Q_SIGNALS:
    void grantsChanged();

private:
    // Turns the wanted feature on when its grant is there.
    void enableGrantedWanted();
    void enable(Feature feature);
    void clearWanted(Feature feature) { m_wanted.removeAll(feature); }

    Dependencies m_deps;
    QSet<Kind> m_asked;
    QList<Feature> m_wanted;
};
