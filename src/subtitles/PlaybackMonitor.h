#pragma once

#include "base/TimerSource.h"
#include "platform/PowerAssertions.h"

#include <QSet>
#include <QString>
#include <functional>
#include <memory>

// Which applications are playing video: those that keep the display awake. Polled twice a
// second; each change of the set is reported once. Main thread only.
class PlaybackMonitor {
public:
    struct Playing {
        QSet<qint32> apps; // process identifiers of regular applications
        bool operator==(const Playing&) const = default;
        static Playing none() { return {}; }
    };

    static constexpr std::chrono::milliseconds pollInterval{500};

    PlaybackMonitor(PowerAssertions& assertions, TimerSource& timers, qint32 ownPid);
    ~PlaybackMonitor();

    // Set before `start()`; called only when the set changed.
    std::function<void(const Playing& from, const Playing& to)> onChange;

    // Polls at once, then every half second. Idempotent.
    void start();
    // Reports the empty set if something was playing, so consumers let go of what they hold.
    void stop();
    bool isRunning() const { return m_timer != nullptr; }
    const Playing& playing() const { return m_playing; }

    // One snapshot of the playing applications.
    static Playing read(PowerAssertions& assertions, qint32 ownPid);
    // Only assertions of these types keep the display awake.
    static bool isDisplayAssertion(const QString& type);
    // Tools whose only purpose is keeping the screen on; their assertions say nothing about
    // video.
    static bool isScreenKeepingTool(const QString& name);

private:
    void poll();
    void schedule();
    void publish(Playing next);

    PowerAssertions& m_assertions;
    TimerSource& m_timers;
    const qint32 m_ownPid;
    Playing m_playing;
    std::unique_ptr<TimerSource::Timer> m_timer;
};
