#pragma once

#include "platform/linux/session/LibdbusMonitorConnection.h"

#include <QHash>
#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>

// The inhibitors callers hold, read off the session bus's traffic: the freedesktop screen
// saver's Inhibit / UnInhibit (it has no list call), GNOME's session manager's Inhibit /
// Uninhibit and KDE's policy agent's AddInhibition / ReleaseInhibition, each call paired with
// the cookie its answer carried. A caller's inhibitors go when it leaves the bus, a service's
// when the service does. Inhibitors taken before watching began are not seen.
class InhibitTraffic {
public:
    enum class Service { screenSaver, gnomeSession, kdePolicyAgent };

    struct Inhibitor {
        Service service = Service::screenSaver;
        QString caller;       // the caller's unique name on the bus
        QString serviceOwner; // the service's unique name
        quint32 cookie = 0;
        QString application;
        QString reason;
        // GNOME's flags, KDE's policy types; nothing for the screen saver, which only keeps
        // the display on.
        quint32 flags = 0;
        quint32 toplevelXid = 0; // GNOME's
        bool keepsDisplayOn() const;
    };

    // What the monitor connection must see.
    static QStringList matchRules();

    // Takes one monitored message; true when the inhibitors held changed.
    bool take(const MonitoredMessage& message);
    const QList<Inhibitor>& held() const { return m_held; }
    void clear();

private:
    bool release(Service service, const QString& caller, quint32 cookie);
    bool forget(const QString& name);

    QList<Inhibitor> m_held;
    // Calls not yet answered, by caller and serial, oldest first.
    QList<QPair<QPair<QString, quint32>, Inhibitor>> m_asked;
};
