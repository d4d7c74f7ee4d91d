#pragma once

#include "platform/SystemActivityEvents.h"

#include <QCoroTask>
#include <QDBusConnection>
#include <QObject>
#include <QSet>
#include <array>

class QDBusMessage;
class QDBusServiceWatcher;

// The screen lock as the desktop's screen savers on the session bus tell it: ActiveChanged(b)
// of org.freedesktop.ScreenSaver, org.gnome.ScreenSaver and org.xfce.ScreenSaver, whichever
// run. The screen is locked while any of them says so; one that quits says no more. One that
// starts later is listened to from then on.
class ScreenSaverActiveSignals final : public QObject, public SystemActivityEvents {
    Q_OBJECT

public:
    explicit ScreenSaverActiveSignals(QDBusConnection sessionBus);
    ~ScreenSaverActiveSignals() override;

    void start(Listener listener) override;
    void stop() override;

Q_SIGNALS:
    // Listening, and what already holds has been told (or none was found).
    void settled();

private Q_SLOTS:
    void activeChanged(const QDBusMessage& message);

private:
    struct Service {
        QString name; // also its interface
        QString path;
        QString owner;
        bool active = false;
        // Bumped by each question and change of owner: only the latest answer counts.
        int asked = 0;
    };

    void subscribe();
    void unsubscribe();
    void ownerChanged(const QString& name, const QString& owner);
    // Asks whether it is active; the first time also who owns the name.
    QCoro::Task<> learn(qsizetype index, bool initial);
    void answered();
    void report();
    void tell(const QString& line);

    QDBusConnection m_bus;
    Listener m_listener;
    bool m_running = false;
    // Bumped by every start and stop: an answer to an older question is dropped.
    int m_generation = 0;
    std::array<Service, 3> m_services;
    // Services whose first answer is still awaited since the start.
    int m_unanswered = 0;
    bool m_reported = false;
    QSet<QString> m_told;
    QDBusServiceWatcher* m_watcher = nullptr;
};
