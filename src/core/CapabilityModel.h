#pragma once

#include "platform/SystemPermissions.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

class AccessibilityAuthorization;
class PermissionCenter;
class ScreenText;
class TranslationEngine;

// The kind of desktop the program runs on, as the windows detect it.
enum class DesktopSession { x11, wayland, other };

// One thing the program needs from the system, in the words the permissions page shows.
struct Capability {
    enum class Id {
        accessibility,
        screenRecording,
        session,
        translationModel,
        browserConnector,
        recognitionData
    };
    // What the program can do about it itself.
    enum class Fix { none, askForGrant, showTranslationSettings };

    Id id;
    QString name;
    QString state;
    QString explanation;
    bool works = false;
    Fix fix = Fix::none;
    QString fixLabel;
};

// Every capability with its state, followed live: grants given or taken away, the translation
// model coming or going. Whatever source is missing (no desktop to capture from) reads as
// unknown. Main thread only.
class CapabilityModel : public QObject {
    Q_OBJECT
public:
    struct Sources {
        DesktopSession session = DesktopSession::other;
        PermissionCenter* permissions = nullptr;
        // Tells whether a sandbox keeps the program from other applications.
        AccessibilityAuthorization* accessibility = nullptr;
        TranslationEngine* translator = nullptr;
        const ScreenText* screenText = nullptr;
    };

    explicit CapabilityModel(Sources sources, QObject* parent = nullptr);

    // A stable name for tests and tools ("accessibility", "translationModel", …).
    static QString rawName(Capability::Id id);

    QList<Capability> all() const;
    Capability capability(Capability::Id id) const;
    // One line per capability ("辅助功能：未开启"), for the diagnostics.
    QStringList lines() const;

    // Asks the system for the capability's grant (accessibility or screen recording).
    void askForGrant(Capability::Id id);

Q_SIGNALS:
    void changed();

private:
    Capability accessibility() const;
    Capability screenRecording() const;
    Capability session() const;
    Capability translationModel() const;
    Capability recognitionData() const;

    Sources m_sources;
};
