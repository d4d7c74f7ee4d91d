#include "capture/PointerDwellMonitor.h"

#include "keys/HotKeySpec.h"
#include "logs/EventLog.h"
#include "platform/HotKeyNames.h"

#include <cmath>

using namespace Qt::StringLiterals;

PointerDwellMonitor::PointerDwellMonitor(PointerSampler& sampler, EventLog& log,
                                         TimerSource& timers, std::function<double()> clock)
    : m_sampler(sampler), m_log(log), m_timers(timers), m_clock(std::move(clock)) {}

PointerDwellMonitor::~PointerDwellMonitor() {
    stop();
}

quint32 PointerDwellMonitor::flagOf(Settings::PointerKey key) {
    switch (key) {
    case Settings::PointerKey::option:
        return PointerSampler::option;
    case Settings::PointerKey::control:
        return PointerSampler::control;
    case Settings::PointerKey::command:
        return PointerSampler::command;
    }
    return PointerSampler::option;
}

QString PointerDwellMonitor::keyName() const {
    switch (m_key) {
    case Settings::PointerKey::option:
        return HotKeyNames::modifierName(HotKeySpec::option);
    case Settings::PointerKey::control:
        return HotKeyNames::modifierName(HotKeySpec::control);
    case Settings::PointerKey::command:
        return HotKeyNames::modifierName(HotKeySpec::command);
    }
    return {};
}

bool PointerDwellMonitor::start() {
    if (m_running)
        return true;
    m_running = true;
    const bool followsKeys = m_sampler.start();
    m_mayRest = m_sampler.notifyModifierPresses([this] { wake(); });
    m_hasAnchor = false;
    m_heldSince.reset();
    m_taps.reset();
    m_lastModifierAt = m_clock();
    m_timer = m_timers.start(interval, [this] { tick(); });
    return followsKeys;
}

void PointerDwellMonitor::stop() {
    if (!m_running)
        return;
    m_running = false;
    m_timer.reset();
    m_sampler.notifyModifierPresses({});
    m_sampler.stop();
    endHold();
}

void PointerDwellMonitor::wake() {
    if (!m_running || m_timer)
        return;
    m_lastModifierAt = m_clock();
    m_timer = m_timers.start(interval, [this] { tick(); });
}

void PointerDwellMonitor::tick() {
    // Re-armed first: a callback may stop the monitor, which drops this timer.
    m_timer = m_timers.start(interval, [this] { tick(); });
    const PointerSampler::State state = m_sampler.sample();
    const Sample sample{.date = m_clock(),
                        .flags = state.flags & PointerSampler::modifierMask,
                        .location = state.location,
                        .mouseButtons = state.mouseButtons,
                        .keyDownAgo = state.keyDownAgo};
    step(sample);
    if (m_timer && mayRest(sample))
        m_timer.reset();
}

bool PointerDwellMonitor::mayRest(const Sample& sample) const {
    if (!m_mayRest)
        return false;
    if (sample.flags != 0 || m_taps.isPressInProgress() || m_heldSince)
        return false;
    return sample.date - m_lastModifierAt >= restingAfterSeconds;
}

void PointerDwellMonitor::step(const Sample& sample) {
    const quint32 flags = sample.flags & PointerSampler::modifierMask;
    if (flags != 0)
        m_lastModifierAt = sample.date;
    const bool keyAlone = flags == flagOf(m_key);
    trackStillness(sample);
    if (m_taps.step({.now = sample.date,
                     .keyAlone = keyAlone,
                     .noModifiers = flags == 0,
                     .mouseButtonDown = sample.mouseButtons != 0,
                     .keyDownAgo = sample.keyDownAgo})) {
        m_log.append(EventLog::Kind::trigger, u"悬停取词｜连按两下 "_s + keyName());
        if (m_callbacks.doubleTap)
            m_callbacks.doubleTap();
    }
    handleHold(sample, keyAlone);
}

void PointerDwellMonitor::trackStillness(const Sample& sample) {
    if (m_hasAnchor && std::abs(sample.location.x() - m_anchor.x()) <= stillDistance &&
        std::abs(sample.location.y() - m_anchor.y()) <= stillDistance)
        return;
    m_hasAnchor = true;
    m_anchor = sample.location;
    m_stillSince = sample.date;
    m_firedHere = false;
}

void PointerDwellMonitor::handleHold(const Sample& sample, bool keyAlone) {
    if (!keyAlone) {
        endHold();
        return;
    }
    if (!m_heldSince) {
        m_heldSince = sample.date;
        m_typedDuringHold = false;
        m_announcedHold = false;
        m_firedHere = false;
    }
    const double held = sample.date - *m_heldSince;
    if (!m_typedDuringHold && sample.keyDownAgo < held) {
        m_typedDuringHold = true;
        m_log.append(EventLog::Kind::reject,
                     u"悬停取词｜按着 "_s + keyName() + u" 打了字，这次不取"_s);
    }
    if (m_typedDuringHold || held < holdSeconds)
        return;
    if (!m_announcedHold) {
        m_announcedHold = true;
        if (m_callbacks.holdAnnounced)
            m_callbacks.holdAnnounced();
    }
    if (!m_firedHere && sample.date - m_stillSince >= restSeconds && sample.mouseButtons == 0 &&
        !m_sampler.inMenuBar(m_anchor)) {
        m_firedHere = true;
        if (m_callbacks.dwell)
            m_callbacks.dwell(m_anchor);
    }
}

void PointerDwellMonitor::endHold() {
    if (!m_heldSince)
        return;
    m_heldSince.reset();
    if (m_announcedHold && m_callbacks.holdEnded)
        m_callbacks.holdEnded();
}
