// The coordinator's side of the system's activity (lock, sleep, user switch pause every
// source) and of the playback monitor (which applications are playing video).
#include "capture/SystemActivityMonitor.h"
#include "core/AppCore.h"
#include "logs/EventLog.h"
#include "platform/CaptureAdapters.h"
#include "platform/PowerAssertions.h"
#include "settings/TriggerSettings.h"

#include <QCoreApplication>
#include <QStringList>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

QString reasonsText(const QSet<PauseReason>& reasons) {
    QStringList texts;
    for (PauseReason reason :
         {PauseReason::screenLock, PauseReason::sleep, PauseReason::sessionSwitch})
        if (reasons.contains(reason))
            texts.append(SystemActivityMonitor::text(reason));
    return texts.join(u"、"_s);
}

} // namespace

void AppCore::makeActivitySources() {
    const CaptureAdapters* adapters = m_deps.capture;
    if (adapters->activity) {
        m_activity = std::make_unique<SystemActivityMonitor>(*adapters->activity);
        m_activity->onPause = [this] {
            m_deps.log.append(EventLog::Kind::trigger,
                              u"取词已暂停｜"_s + reasonsText(m_activity->pauseReasons()));
            setSystemPaused(true);
        };
        m_activity->onResume = [this] {
            m_deps.log.append(EventLog::Kind::trigger, u"取词已恢复"_s);
            setSystemPaused(false);
        };
        // Not an error: a desktop without a screen saver, or a machine without logind, is
        // ordinary; the line says what the program cannot know there.
        m_activity->onUnavailable = [this](const QString& line) {
            m_deps.log.append(EventLog::Kind::trigger, line);
        };
    }
    if (adapters->powerAssertions) {
        const qint32 ownPid =
            m_deps.ownPid ? m_deps.ownPid : qint32(QCoreApplication::applicationPid());
        m_playback =
            std::make_unique<PlaybackMonitor>(*adapters->powerAssertions, *m_deps.timers, ownPid);
        m_playback->onChange = [this](const PlaybackMonitor::Playing& from,
                                      const PlaybackMonitor::Playing& to) {
            notePlayback(to);
            Q_EMIT playbackChanged(from, to);
        };
    }
}

void AppCore::applyPlaybackRunState() {
    if (!m_playback)
        return;
    // Only the subtitle features need to know what plays.
    const bool playbackRuns =
        !m_systemPaused && !m_deps.triggers.isMuted() && m_deps.triggers.videoSubtitlesEnabled();
    if (playbackRuns)
        m_playback->start();
    else
        m_playback->stop();
}

void AppCore::notePlayback(const PlaybackMonitor::Playing& playing) {
    if (playing.apps.isEmpty()) {
        m_deps.log.append(EventLog::Kind::trigger, u"视频播放｜没有应用在播放视频"_s);
        return;
    }
    QList<qint32> pids(playing.apps.cbegin(), playing.apps.cend());
    std::sort(pids.begin(), pids.end());
    QStringList apps;
    for (qint32 pid : pids) {
        const QString name = m_deps.capture->powerAssertions->processName(pid);
        apps.append(name.isEmpty() ? QString::number(pid) : u"%1（%2）"_s.arg(name).arg(pid));
    }
    m_deps.log.append(EventLog::Kind::trigger, u"视频播放｜正在播放："_s + apps.join(u"、"_s));
}
