#pragma once

#include "platform/PowerAssertions.h"

#include <QHash>
#include <memory>

class DBusConnectionPids;
class GnomeSessionInhibitors;
class InhibitTraffic;
class LibdbusMonitorConnection;
class MprisPlayers;
class X11ClientWindowPids;
class XcbEventConnection;
struct MonitoredMessage;

// Who keeps the display awake on a Linux desktop: the inhibitors held through the session
// bus (GNOME's session manager's list; the freedesktop screen saver's, GNOME's and KDE's
// inhibit calls seen on a monitor connection, which also tell the callers' processes), the
// media players' playback, the processes' windows (X11) and parents (/proc). Everything is
// gathered as the services announce changes, so the answers come from memory: a poll asks
// the bus nothing. A missing service is skipped. Main thread only.
class LinuxPowerAssertions final : public PowerAssertions {
public:
    // On the session bus.
    explicit LinuxPowerAssertions(XcbEventConnection& x11);
    ~LinuxPowerAssertions() override;

    void start() override;
    void stop() override;
    std::optional<ByProcess> assertionsByProcess() override;
    bool isRegularApplication(qint32 pid) override;
    bool isMediaHelper(qint32 pid) override;
    qint32 responsibleFor(qint32 pid) override;
    QString processName(qint32 pid) override;
    std::optional<bool> mediaPlaying(qint32 pid) override;

    // The inhibit calls on the bus are being seen (the bus let the monitor in); calls made
    // before that are not.
    bool isWatchingCalls() const;

private:
    struct ProcessFacts {
        QString name;
        bool helper = false;
    };

    void takeMessage(const MonitoredMessage& message);
    void rebuild();
    const ProcessFacts& factsOf(qint32 pid);

    std::unique_ptr<X11ClientWindowPids> m_windows;
    std::unique_ptr<DBusConnectionPids> m_pids;
    std::unique_ptr<InhibitTraffic> m_traffic;
    std::unique_ptr<LibdbusMonitorConnection> m_monitor;
    std::unique_ptr<GnomeSessionInhibitors> m_gnome;
    std::unique_ptr<MprisPlayers> m_players;
    bool m_running = false;
    // What the sources hold changed since the assertions were last put together.
    bool m_stale = true;
    ByProcess m_byProcess;
    // Per process, until what is held changes (a pid may be reused only once its holder left).
    QHash<qint32, ProcessFacts> m_facts;
    QHash<qint32, qint32> m_parents;
    QHash<quint32, qint32> m_windowPids;
};
