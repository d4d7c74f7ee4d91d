#include "platform/linux/session/InhibitTraffic.h"

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

struct Interface {
    InhibitTraffic::Service service;
    QString busName;
    QString name;
    QString take;
    QString release;
};

const QList<Interface>& interfaces() {
    static const QList<Interface> all{
        {InhibitTraffic::Service::screenSaver, u"org.freedesktop.ScreenSaver"_s,
         u"org.freedesktop.ScreenSaver"_s, u"Inhibit"_s, u"UnInhibit"_s},
        {InhibitTraffic::Service::gnomeSession, u"org.gnome.SessionManager"_s,
         u"org.gnome.SessionManager"_s, u"Inhibit"_s, u"Uninhibit"_s},
        {InhibitTraffic::Service::kdePolicyAgent, u"org.kde.Solid.PowerManagement"_s,
         u"org.kde.Solid.PowerManagement.PolicyAgent"_s, u"AddInhibition"_s,
         u"ReleaseInhibition"_s},
    };
    return all;
}

const Interface* interfaceNamed(const QString& name) {
    for (const Interface& interface : interfaces())
        if (interface.name == name)
            return &interface;
    return nullptr;
}

// GNOME's "idle" flag; KDE's ChangeScreenSettings policy.
constexpr quint32 gnomeIdle = 8;
constexpr quint32 kdeScreenSettings = 4;
// A caller whose answers never come (the service is stuck) must not grow this without end.
constexpr qsizetype askedLimit = 64;

// The inhibitor a call asks for, from its arguments; nothing when they are not the
// interface's.
std::optional<InhibitTraffic::Inhibitor> asked(const Interface& interface,
                                               const QVariantList& arguments) {
    InhibitTraffic::Inhibitor inhibitor;
    inhibitor.service = interface.service;
    switch (interface.service) {
    case InhibitTraffic::Service::screenSaver: // (application, reason)
        if (arguments.size() < 2)
            return std::nullopt;
        inhibitor.application = arguments[0].toString();
        inhibitor.reason = arguments[1].toString();
        break;
    case InhibitTraffic::Service::gnomeSession: // (app_id, toplevel_xid, reason, flags)
        if (arguments.size() < 4)
            return std::nullopt;
        inhibitor.application = arguments[0].toString();
        inhibitor.toplevelXid = arguments[1].toUInt();
        inhibitor.reason = arguments[2].toString();
        inhibitor.flags = arguments[3].toUInt();
        break;
    case InhibitTraffic::Service::kdePolicyAgent: // (types, app_name, reason)
        if (arguments.size() < 3)
            return std::nullopt;
        inhibitor.flags = arguments[0].toUInt();
        inhibitor.application = arguments[1].toString();
        inhibitor.reason = arguments[2].toString();
        break;
    }
    return inhibitor;
}

} // namespace

bool InhibitTraffic::Inhibitor::keepsDisplayOn() const {
    switch (service) {
    case Service::screenSaver:
        return true;
    case Service::gnomeSession:
        return flags & gnomeIdle;
    case Service::kdePolicyAgent:
        return flags & kdeScreenSettings;
    }
    return false;
}

QStringList InhibitTraffic::matchRules() {
    QStringList rules;
    for (const Interface& interface : interfaces()) {
        for (const QString& member : {interface.take, interface.release})
            rules.append(
                u"type='method_call',interface='%1',member='%2'"_s.arg(interface.name, member));
        // A sender given by its well-known name matches whoever owns that name: only these
        // services' answers, not the whole bus's.
        rules.append(u"type='method_return',sender='%1'"_s.arg(interface.busName));
        rules.append(u"type='error',sender='%1'"_s.arg(interface.busName));
    }
    rules.append(u"type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',"
                 "member='NameOwnerChanged'"_s);
    return rules;
}

bool InhibitTraffic::take(const MonitoredMessage& message) {
    switch (message.type) {
    case MonitoredMessage::Type::call: {
        const Interface* interface = interfaceNamed(message.interface);
        if (!interface)
            return false;
        if (message.member == interface->release)
            return release(interface->service, message.sender, message.arguments.value(0).toUInt());
        if (message.member != interface->take)
            return false;
        if (std::optional<Inhibitor> inhibitor = asked(*interface, message.arguments)) {
            inhibitor->caller = message.sender;
            if (m_asked.size() >= askedLimit)
                m_asked.removeFirst();
            m_asked.append({{message.sender, message.serial}, *inhibitor});
        }
        return false;
    }
    case MonitoredMessage::Type::reply:
    case MonitoredMessage::Type::error: {
        const QPair<QString, quint32> key{message.destination, message.replySerial};
        for (qsizetype i = 0; i < m_asked.size(); ++i) {
            if (m_asked[i].first != key)
                continue;
            Inhibitor inhibitor = m_asked.takeAt(i).second;
            if (message.type == MonitoredMessage::Type::error || message.arguments.isEmpty())
                return false;
            inhibitor.cookie = message.arguments[0].toUInt();
            inhibitor.serviceOwner = message.sender;
            m_held.append(inhibitor);
            return true;
        }
        return false;
    }
    case MonitoredMessage::Type::signal: {
        // NameOwnerChanged(name, old owner, new owner): a connection that closed.
        if (message.member != u"NameOwnerChanged" || message.arguments.size() < 3 ||
            !message.arguments[2].toString().isEmpty())
            return false;
        // A service that gave up its name without leaving the bus keeps nothing either.
        const QString name = message.arguments[0].toString();
        const bool isService = std::any_of(interfaces().cbegin(), interfaces().cend(),
                                           [&](const Interface& i) { return i.busName == name; });
        return forget(isService ? message.arguments[1].toString() : name);
    }
    case MonitoredMessage::Type::other:
        return false;
    }
    return false;
}

void InhibitTraffic::clear() {
    m_held.clear();
    m_asked.clear();
}

bool InhibitTraffic::release(Service service, const QString& caller, quint32 cookie) {
    // The caller's own first; a cookie handed to another process may be released there.
    auto matches = [&](const Inhibitor& inhibitor, bool sameCaller) {
        return inhibitor.service == service && inhibitor.cookie == cookie &&
               (!sameCaller || inhibitor.caller == caller);
    };
    for (const bool sameCaller : {true, false})
        for (qsizetype i = 0; i < m_held.size(); ++i)
            if (matches(m_held[i], sameCaller)) {
                m_held.removeAt(i);
                return true;
            }
    return false;
}

bool InhibitTraffic::forget(const QString& name) {
    if (name.isEmpty())
        return false;
    m_asked.removeIf([&](const auto& entry) { return entry.first.first == name; });
    return m_held.removeIf([&](const Inhibitor& inhibitor) {
        return inhibitor.caller == name || inhibitor.serviceOwner == name;
    }) > 0;
}
