#pragma once

#include "platform/AccessibleWordReader.h"

#include <QDBusConnection>
#include <QSet>
#include <QString>
#include <functional>
#include <memory>
#include <optional>

class AtspiBus;

// Reads the word under a screen point over the accessibility bus (AT-SPI): the application
// whose window is at the point, the deepest object there, the nearest one with text, the
// character at the point and the word around it.
class AtspiWordReader final : public AccessibleWordReader {
public:
    // The process showing the top-level window at a screen point: nothing when no window is
    // there, 0 when the window does not say.
    using ProcessAt = std::function<std::optional<qint64>(QPointF)>;

    explicit AtspiWordReader(ProcessAt processAt,
                             QDBusConnection sessionBus = QDBusConnection::sessionBus());
    ~AtspiWordReader() override;

    QCoro::Task<Outcome> wordAt(QPointF point, std::chrono::milliseconds limit) override;

private:
    ProcessAt processAt;
    // Shared with reads under way, which may outlive this reader.
    std::shared_ptr<AtspiBus> atspi;
    // Applications that answer words only the older way (GetTextAtOffset), by connection.
    std::shared_ptr<QSet<QString>> withoutStringAtOffset;
};
