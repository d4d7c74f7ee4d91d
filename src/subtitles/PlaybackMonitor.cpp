#include "subtitles/PlaybackMonitor.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace {

bool qualifies(const PowerAssertions::Assertion& assertion, const QString& processName) {
    return PlaybackMonitor::isDisplayAssertion(assertion.type) && assertion.name != u"Electron" &&
           !PlaybackMonitor::isScreenKeepingTool(assertion.name) &&
           !PlaybackMonitor::isScreenKeepingTool(processName);
}

} // namespace

PlaybackMonitor::PlaybackMonitor(PowerAssertions& assertions, TimerSource& timers, qint32 ownPid)
    : m_assertions(assertions), m_timers(timers), m_ownPid(ownPid) {}

PlaybackMonitor::~PlaybackMonitor() {
    m_timer.reset();
}

bool PlaybackMonitor::isDisplayAssertion(const QString& type) {
    return type == u"PreventUserIdleDisplaySleep" || type == u"NoDisplaySleepAssertion";
}

bool PlaybackMonitor::isScreenKeepingTool(const QString& name) {
    static const QStringList tools{u"caffeinate"_s, u"caffeine"_s, u"systemd-inhibit"_s,
                                   u"gnome-session-inhibit"_s};
    for (const QString& tool : tools)
        if (name.contains(tool, Qt::CaseInsensitive))
            return true;
    return false;
}

void PlaybackMonitor::start() {
    if (m_timer)
        return;
    m_assertions.start();
    schedule();
    poll();
}

void PlaybackMonitor::stop() {
    if (!m_timer)
        return;
    m_timer.reset();
    m_assertions.stop();
    if (m_playing != Playing::none())
        publish(Playing::none());
}

void PlaybackMonitor::schedule() {
    m_timer = m_timers.start(pollInterval, [this] {
        PlaybackMonitor* monitor = this;
        // Re-armed before the poll: the timer that runs this callback is replaced.
        monitor->schedule();
        monitor->poll();
    });
}

void PlaybackMonitor::poll() {
    Playing next = read(m_assertions, m_ownPid);
    if (next != m_playing)
        publish(std::move(next));
}

void PlaybackMonitor::publish(Playing next) {
    const Playing old = std::exchange(m_playing, std::move(next));
    if (onChange)
        onChange(old, m_playing);
}

PlaybackMonitor::Playing PlaybackMonitor::read(PowerAssertions& assertions, qint32 ownPid) {
    Playing playing;
    const std::optional<PowerAssertions::ByProcess> held = assertions.assertionsByProcess();
    if (!held)
        return playing;
    for (auto it = held->cbegin(); it != held->cend(); ++it) {
        const qint32 pid = it.key();
        const QString name = assertions.processName(pid);
        const bool anyQualifies = std::any_of(it.value().cbegin(), it.value().cend(),
                                              [&](const PowerAssertions::Assertion& assertion) {
                                                  return qualifies(assertion, name);
                                              });
        if (!anyQualifies)
            continue;
        qint32 app = 0;
        if (assertions.isRegularApplication(pid)) {
            app = pid;
        } else if (assertions.isMediaHelper(pid)) {
            // A browser's web-content process holds the assertion for the browser.
            const qint32 responsible = assertions.responsibleFor(pid);
            if (responsible >= 1 && responsible != pid &&
                assertions.isRegularApplication(responsible))
                app = responsible;
        }
        if (app == 0 || app == ownPid)
            continue;
        // A player that says it is paused is not playing, whatever it still holds.
        if (assertions.mediaPlaying(app) == std::optional(false))
            continue;
        playing.apps.insert(app);
    }
    return playing;
}
