#include "AtspiAccessibilityGrant.h"

#include "platform/linux/screen/WaylandSession.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

const QString launcher = u"org.a11y.Bus"_s;
const QString launcherPath = u"/org/a11y/bus"_s;
const QString statusInterface = u"org.a11y.Status"_s;
const QString properties = u"org.freedesktop.DBus.Properties"_s;
const QString enabledProperty = u"IsEnabled"_s;
// The launcher answers at once when it is there; a hung one must not keep us waiting.
constexpr int callLimitMs = 2000;

QDBusMessage propertyCall(const QString& method, const QVariantList& arguments) {
    QDBusMessage message =
        QDBusMessage::createMethodCall(launcher, launcherPath, properties, method);
    message.setArguments(arguments);
    return message;
}

} // namespace

AtspiAccessibilityGrant::AtspiAccessibilityGrant(QDBusConnection sessionBus)
    : sessionBus(std::move(sessionBus)) {
    this->sessionBus.connect(launcher, launcherPath, properties, u"PropertiesChanged"_s, this,
                             SLOT(propertiesChanged(QString, QVariantMap, QStringList)));
    // A launcher that quits takes the bus with it; one that starts may find it on.
    launcherWatcher = new QDBusServiceWatcher(launcher, this->sessionBus,
                                              QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(launcherWatcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& owner) {
                if (owner.isEmpty())
                    take(false);
                else
                    refresh();
            });
    refresh();
}

AtspiAccessibilityGrant::~AtspiAccessibilityGrant() = default;

bool AtspiAccessibilityGrant::isGranted(Kind kind) const {
    // X11 lets every client read the screen.
    if (kind == Kind::screenRecording)
        return !isWaylandSession();
    return enabled;
}

void AtspiAccessibilityGrant::refresh() {
    QDBusMessage ask = propertyCall(u"Get"_s, {statusInterface, enabledProperty});
    // Asking must not start a launcher the desktop does not run.
    ask.setAutoStartService(false);
    auto* watcher = new QDBusPendingCallWatcher(sessionBus.asyncCall(ask, callLimitMs), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this](QDBusPendingCallWatcher* call) {
                call->deleteLater();
                const QDBusMessage answer = call->reply();
                const QVariant value = answer.arguments().value(0);
                take(answer.type() == QDBusMessage::ReplyMessage &&
                     value.value<QDBusVariant>().variant().toBool());
            });
}

void AtspiAccessibilityGrant::request(Kind kind) {
    if (kind != Kind::accessibility)
        return;
    // Switching it on may start the launcher where the desktop starts it on demand.
    const QDBusMessage set = propertyCall(
        u"Set"_s, {statusInterface, enabledProperty, QVariant::fromValue(QDBusVariant(true))});
    auto* watcher = new QDBusPendingCallWatcher(sessionBus.asyncCall(set, callLimitMs), this);
    // The launcher announces the change; asking again covers one that does not.
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this](QDBusPendingCallWatcher* call) {
                call->deleteLater();
                refresh();
            });
}

bool AtspiAccessibilityGrant::openSettingsPane(Kind) {
    return false;
}

bool AtspiAccessibilityGrant::isSandboxed() const {
    return QFileInfo::exists(u"/.flatpak-info"_s) || qEnvironmentVariableIsSet("FLATPAK_ID") ||
           qEnvironmentVariableIsSet("SNAP");
}

void AtspiAccessibilityGrant::setChangeHandler(std::function<void()> handler) {
    onChange = std::move(handler);
}

void AtspiAccessibilityGrant::propertiesChanged(const QString& interface,
                                                const QVariantMap& changed,
                                                const QStringList& invalidated) {
    if (interface != statusInterface)
        return;
    if (changed.contains(enabledProperty))
        take(changed.value(enabledProperty).toBool());
    else if (invalidated.contains(enabledProperty))
        refresh();
}

void AtspiAccessibilityGrant::take(bool nowEnabled) {
    if (nowEnabled == enabled)
        return;
    enabled = nowEnabled;
    if (onChange)
        onChange();
}
