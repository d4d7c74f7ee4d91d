#pragma once

#include "base/TimerSource.h"
#include "capture/ModifierTapDetector.h"
#include "platform/PointerSampler.h"
#include "settings/SettingTable.h"

#include <QPointF>
#include <functional>
#include <memory>
#include <optional>

class EventLog;

// Hover lookup's eyes: samples the keyboard and pointer 25 times a second and reports when
// the pointer key has been held long enough, when the pointer comes to rest while it is held
// (once per resting position), and when the key is tapped twice. Main thread only.
class PointerDwellMonitor {
public:
    struct Sample {
        double date = 0; // seconds on a steady clock
        quint32 flags = 0;
        QPointF location;
        int mouseButtons = 0;
        double keyDownAgo = 0;
    };
    struct Callbacks {
        std::function<void()> holdAnnounced;
        // An announced hold is over: the key was released or joined by another modifier.
        std::function<void()> holdEnded;
        std::function<void(QPointF point)> dwell;
        std::function<void()> doubleTap;
    };

    static constexpr std::chrono::milliseconds interval{40};
    static constexpr double stillDistance = 3.0;
    static constexpr double holdSeconds = 0.22;
    static constexpr double restSeconds = 0.2;
    // With no modifier held for this long, sampling rests until one is pressed (where the
    // sampler can tell): nothing can start without a modifier, and a tap pair is over by then.
    static constexpr double restingAfterSeconds = 0.5;

    PointerDwellMonitor(PointerSampler& sampler, EventLog& log, TimerSource& timers,
                        std::function<double()> clock);
    ~PointerDwellMonitor();

    void setCallbacks(Callbacks callbacks) { m_callbacks = std::move(callbacks); }
    void setKey(Settings::PointerKey key) { m_key = key; }
    Settings::PointerKey key() const { return m_key; }
    // The key's modifier bit in a sample.
    static quint32 flagOf(Settings::PointerKey key);

    // False when the sampler cannot follow key presses; the monitor runs all the same.
    bool start();
    void stop();
    bool isRunning() const { return m_running; }
    // Samples are being taken (not resting for want of a modifier).
    bool isSampling() const { return m_timer != nullptr; }

    // The whole decision for one sample.
    void step(const Sample& sample);
    // Where the pointer rests now, and whether a dwell was reported there.
    QPointF anchor() const { return m_anchor; }
    bool isKeyHeld() const { return m_heldSince.has_value(); }

private:
    void tick();
    void wake();
    // Nothing is held or in progress, and has not been for a while.
    bool mayRest(const Sample& sample) const;
    void trackStillness(const Sample& sample);
    void handleHold(const Sample& sample, bool keyAlone);
    void endHold();
    QString keyName() const;

    PointerSampler& m_sampler;
    EventLog& m_log;
    TimerSource& m_timers;
    std::function<double()> m_clock;
    Callbacks m_callbacks;
    Settings::PointerKey m_key = Settings::PointerKey::option;
    std::unique_ptr<TimerSource::Timer> m_timer;
    bool m_running = false;
    bool m_mayRest = false; // the sampler announces modifier presses
    double m_lastModifierAt = 0;

    QPointF m_anchor;
    double m_stillSince = 0;
    bool m_firedHere = false;
    bool m_hasAnchor = false;
    std::optional<double> m_heldSince;
    bool m_typedDuringHold = false;
    bool m_announcedHold = false;
    ModifierTapDetector m_taps;
};
