#pragma once

#include "platform/SystemPermissions.h"

#include <QDBusConnection>
#include <QObject>

class QDBusMessage;
class QDBusServiceWatcher;

// The accessibility grant on Linux: the desktop's accessibility bus being enabled (the
// IsEnabled property the bus launcher keeps on the session bus). Asked asynchronously and
// followed as it changes; no launcher means not granted. Reading the screen needs no grant
// on X11.
class AtspiAccessibilityGrant final : public QObject, public SystemPermissions {
    Q_OBJECT

public:
    explicit AtspiAccessibilityGrant(QDBusConnection sessionBus = QDBusConnection::sessionBus());
    ~AtspiAccessibilityGrant() override;

    bool isGranted(Kind kind) const override;
    void refresh() override;
    // Switches the bus on. It stays on in the desktop's settings; applications already
    // running read it only when they start.
    void request(Kind kind) override;
    bool openSettingsPane(Kind kind) override;
    bool isSandboxed() const override;
    void setChangeHandler(std::function<void()> handler) override;

private Q_SLOTS:
    void propertiesChanged(const QString& interface, const QVariantMap& changed,
                           const QStringList& invalidated);

private:
    void take(bool enabled);

    QDBusConnection sessionBus;
    QDBusServiceWatcher* launcherWatcher = nullptr;
    bool enabled = false;
    std::function<void()> onChange;
};
