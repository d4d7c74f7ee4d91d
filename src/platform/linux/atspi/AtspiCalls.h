#pragma once

#include <QCoroTask>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QList>
#include <QString>
#include <chrono>
#include <optional>

// One accessible object on the accessibility bus: the application's connection and the
// object's path there.
struct AtspiObject {
    QString service;
    QString path;
    bool operator==(const AtspiObject&) const = default;
};

namespace Atspi {

inline constexpr uint rolePasswordText = 40;
inline constexpr uint roleApplication = 75;
inline constexpr int stateFocused = 12;
inline constexpr int stateShowing = 25;
inline constexpr int stateManagesDescendants = 31;

// How a call ended: the application answered, refused (an error reply: it is there but
// does not do that), said nothing within the limit, or is gone (the application, the object
// or the bus).
struct Reply {
    enum class Kind { answered, refused, silent, gone };
    Kind kind = Kind::silent;
    QDBusMessage message;

    bool answered() const { return kind == Kind::answered; }
    bool unanswered() const { return kind == Kind::silent || kind == Kind::gone; }
    QVariant first() const { return message.arguments().value(0); }
};

// Calls `method` on the object's accessible interface `interface`, bounded by `limit`. Never
// starts a service that is not running.
QCoro::Task<Reply> call(QDBusConnection bus, AtspiObject object, QString interface, QString method,
                        QVariantList arguments, std::chrono::milliseconds limit);

// The method's first answer, read as what the accessibility interfaces hand back: an object
// ((so), also inside a property's variant), a list of objects (a(so)), the state bits (au:
// two 32-bit words, joined). Nothing when it is not that.
std::optional<AtspiObject> objectFrom(const QVariant& value);
QList<AtspiObject> objectsFrom(const QVariant& value);
std::optional<quint64> statesFrom(const QVariant& value);

// Asks for a property of the object's accessible interface.
QCoro::Task<Reply> property(QDBusConnection bus, AtspiObject object, QString name,
                            std::chrono::milliseconds limit);
// The process behind an application's connection; 0 when the bus does not know.
QCoro::Task<qint64> processOf(QDBusConnection bus, QString service,
                              std::chrono::milliseconds limit);

inline bool has(quint64 states, int bit) {
    return (states >> bit) & 1U;
}

// The interfaces objects answer on.
inline const QString accessible = QStringLiteral("org.a11y.atspi.Accessible");
inline const QString text = QStringLiteral("org.a11y.atspi.Text");

} // namespace Atspi
