#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <optional>

// Who keeps the display (or only the machine) awake, per process, and the little the playback
// monitor needs to know about those processes. The adapter watches the system on its own and
// answers from what it has gathered, so a call is cheap enough for a twice-a-second poll.
// Main thread only.
class PowerAssertions {
public:
    struct Assertion {
        // "PreventUserIdleDisplaySleep" or "NoDisplaySleepAssertion" keep the display on;
        // anything else (such as "PreventUserIdleSystemSleep") keeps only the machine awake.
        QString type;
        // The name the holder gave it (its application name, where that is all there is).
        QString name;
        bool operator==(const Assertion&) const = default;
    };
    using ByProcess = QHash<qint32, QList<Assertion>>;

    virtual ~PowerAssertions() = default;

    // Starts and stops watching. While stopped the adapter holds nothing and costs nothing.
    virtual void start() {}
    virtual void stop() {}
    // The assertions held now, by process; nothing when they cannot be read.
    virtual std::optional<ByProcess> assertionsByProcess() = 0;
    // An ordinary application with a window of its own, as opposed to a helper, a service or
    // a tool.
    virtual bool isRegularApplication(qint32 pid) = 0;
    // A browser's or player's helper process (a web-content, renderer or GPU process).
    virtual bool isMediaHelper(qint32 pid) = 0;
    // The process responsible for a helper (the browser it works for); 0 when unknown.
    virtual qint32 responsibleFor(qint32 pid) = 0;
    // The process's executable name, for the tools that only keep the screen on; empty when
    // unknown.
    virtual QString processName(qint32 pid) = 0;
    // What the application's media players say: true playing, false paused or stopped,
    // nothing when it has none the adapter knows of.
    virtual std::optional<bool> mediaPlaying(qint32 pid) {
        Q_UNUSED(pid);
        return std::nullopt;
    }
};
