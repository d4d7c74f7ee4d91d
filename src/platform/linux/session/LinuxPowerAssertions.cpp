#include "platform/linux/session/LinuxPowerAssertions.h"

#include "platform/linux/session/DBusConnectionPids.h"
#include "platform/linux/session/GnomeSessionInhibitors.h"
#include "platform/linux/session/InhibitTraffic.h"
#include "platform/linux/session/LibdbusMonitorConnection.h"
#include "platform/linux/session/MprisPlayers.h"
#include "platform/linux/session/ProcFsProcesses.h"
#include "platform/linux/session/X11ClientWindowPids.h"

using namespace Qt::StringLiterals;

namespace {

const QString displayType = u"PreventUserIdleDisplaySleep"_s;
const QString systemType = u"PreventUserIdleSystemSleep"_s;
// GNOME's idle flag.
constexpr quint32 gnomeIdle = 8;

// A parent process that is a window's is the nearest application; a helper's lineage is
// short (browser → zygote → renderer).
constexpr int responsibleDepth = 16;

} // namespace

LinuxPowerAssertions::LinuxPowerAssertions(XcbEventConnection& x11)
    : m_windows(std::make_unique<X11ClientWindowPids>(x11)),
      m_pids(std::make_unique<DBusConnectionPids>(QDBusConnection::sessionBus())),
      m_traffic(std::make_unique<InhibitTraffic>()),
      m_gnome(std::make_unique<GnomeSessionInhibitors>(QDBusConnection::sessionBus())),
      m_players(std::make_unique<MprisPlayers>(QDBusConnection::sessionBus(), *m_pids)) {
    m_monitor = std::make_unique<LibdbusMonitorConnection>(
        InhibitTraffic::matchRules(),
        [this](const MonitoredMessage& message) { takeMessage(message); });
    m_pids->onKnown = [this] {
        m_stale = true;
    };
    m_gnome->onChange = [this] {
        m_stale = true;
    };
}

LinuxPowerAssertions::~LinuxPowerAssertions() {
    stop();
}

void LinuxPowerAssertions::start() {
    if (m_running)
        return;
    m_running = true;
    m_stale = true;
    m_windows->start();
    m_monitor->open();
    m_gnome->start();
    m_players->start();
}

void LinuxPowerAssertions::stop() {
    if (!m_running)
        return;
    m_running = false;
    m_players->stop();
    m_gnome->stop();
    m_monitor->close();
    m_windows->stop();
    m_traffic->clear();
    m_pids->clear();
    m_byProcess.clear();
    m_facts.clear();
    m_parents.clear();
    m_windowPids.clear();
}

bool LinuxPowerAssertions::isWatchingCalls() const {
    return m_monitor->isMonitoring();
}

void LinuxPowerAssertions::takeMessage(const MonitoredMessage& message) {
    if (message.type == MonitoredMessage::Type::signal && message.arguments.size() >= 3 &&
        message.arguments[2].toString().isEmpty() &&
        message.arguments[0].toString().startsWith(u':'))
        m_pids->forget(message.arguments[0].toString());
    if (m_traffic->take(message))
        m_stale = true;
}

std::optional<PowerAssertions::ByProcess> LinuxPowerAssertions::assertionsByProcess() {
    if (!m_running)
        return std::nullopt;
    if (m_stale)
        rebuild();
    return m_byProcess;
}

void LinuxPowerAssertions::rebuild() {
    m_stale = false;
    m_byProcess.clear();
    m_facts.clear();
    m_parents.clear();
    // GNOME's calls seen on the bus name their caller; its list is what is held. Each
    // listed inhibitor takes the caller of a call that asked for the same thing.
    QList<const InhibitTraffic::Inhibitor*> gnomeCalls;
    for (const InhibitTraffic::Inhibitor& inhibitor : m_traffic->held()) {
        if (inhibitor.service == InhibitTraffic::Service::gnomeSession) {
            gnomeCalls.append(&inhibitor);
            continue;
        }
        if (const qint32 pid = m_pids->pidOf(inhibitor.caller); pid > 0)
            m_byProcess[pid].append({.type = inhibitor.keepsDisplayOn() ? displayType : systemType,
                                     .name = inhibitor.application});
    }
    for (const GnomeSessionInhibitors::Inhibitor& listed : m_gnome->held()) {
        qint32 pid = 0;
        for (qsizetype i = 0; i < gnomeCalls.size(); ++i) {
            const InhibitTraffic::Inhibitor& call = *gnomeCalls[i];
            if (call.application == listed.application && call.reason == listed.reason &&
                call.flags == listed.flags && call.toplevelXid == listed.toplevelXid) {
                pid = m_pids->pidOf(call.caller);
                gnomeCalls.removeAt(i);
                break;
            }
        }
        // Taken before we watched: the window it named tells whose it is.
        if (pid <= 0 && listed.toplevelXid != 0) {
            pid = m_windowPids.value(listed.toplevelXid);
            // Asked again while unknown: the window may not carry its pid yet.
            if (pid <= 0 && (pid = m_windows->pidOfWindow(listed.toplevelXid)) > 0)
                m_windowPids.insert(listed.toplevelXid, pid);
        }
        if (pid > 0)
            m_byProcess[pid].append({.type = (listed.flags & gnomeIdle) ? displayType : systemType,
                                     .name = listed.application});
    }
}

bool LinuxPowerAssertions::isRegularApplication(qint32 pid) {
    return m_windows->hasManagedWindow(pid);
}

const LinuxPowerAssertions::ProcessFacts& LinuxPowerAssertions::factsOf(qint32 pid) {
    auto it = m_facts.find(pid);
    if (it == m_facts.end()) {
        ProcessFacts facts;
        facts.name = ProcFsProcesses::commandName(pid);
        facts.helper =
            ProcFsProcesses::isMediaHelperCommand(ProcFsProcesses::arguments(pid), facts.name);
        it = m_facts.insert(pid, facts);
    }
    return *it;
}

bool LinuxPowerAssertions::isMediaHelper(qint32 pid) {
    return factsOf(pid).helper;
}

QString LinuxPowerAssertions::processName(qint32 pid) {
    return factsOf(pid).name;
}

qint32 LinuxPowerAssertions::responsibleFor(qint32 pid) {
    qint32 at = pid;
    for (int step = 0; step < responsibleDepth; ++step) {
        auto parent = m_parents.constFind(at);
        if (parent == m_parents.cend())
            parent = m_parents.insert(at, ProcFsProcesses::parentOf(at));
        at = *parent;
        if (at <= 1)
            return 0;
        if (isRegularApplication(at))
            return at;
    }
    return 0;
}

std::optional<bool> LinuxPowerAssertions::mediaPlaying(qint32 pid) {
    return m_running ? m_players->playing(pid) : std::nullopt;
}
