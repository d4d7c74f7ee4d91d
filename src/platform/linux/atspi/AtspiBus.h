#pragma once

#include "AtspiCalls.h"

#include <QCoroTask>
#include <QDBusConnection>
#include <QHash>
#include <QObject>
#include <chrono>
#include <optional>

// The connection to the desktop's accessibility bus, and the object that last took focus
// there. The bus's address comes from the session bus; the connection is made on first use
// and again after it is lost (the bus restarted, or accessibility switched off and on).
class AtspiBus : public QObject {
    Q_OBJECT

public:
    explicit AtspiBus(QDBusConnection sessionBus);
    ~AtspiBus() override;

    // Connected, connecting first when needed; nothing when there is no accessibility bus or
    // it does not answer within `limit`.
    QCoro::Task<std::optional<QDBusConnection>> connection(std::chrono::milliseconds limit);

    // The object focus events last named, if it has not lost focus since.
    std::optional<AtspiObject> focused() const { return focused_; }
    void forgetFocused() { focused_.reset(); }

    // The process behind an application's connection (asked once per connection).
    QCoro::Task<qint64> processOf(QString service, std::chrono::milliseconds limit);

private Q_SLOTS:
    void stateChanged(const QDBusMessage& message);
    void textSelectionChanged(const QDBusMessage& message);

private:
    void listen(QDBusConnection& bus);
    void drop();

    QDBusConnection sessionBus;
    std::optional<QDBusConnection> bus;
    QString connectionName;
    bool connecting = false;
    std::optional<AtspiObject> focused_;
    QHash<QString, qint64> processes;
};
