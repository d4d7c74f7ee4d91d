#pragma once

#include "platform/AccessibleSelectionReader.h"

#include <QDBusConnection>
#include <functional>
#include <memory>

class AtspiBus;

// Reads the selected text of the focused object over the accessibility bus (AT-SPI). The
// focused object is the one focus events last named, when it belongs to the application in
// front; otherwise it is searched for in that application.
class AtspiSelectionReader final : public AccessibleSelectionReader {
public:
    // The process whose window is in front; 0 when unknown.
    using FrontmostProcess = std::function<qint64()>;

    explicit AtspiSelectionReader(FrontmostProcess frontmostProcess,
                                  QDBusConnection sessionBus = QDBusConnection::sessionBus());
    ~AtspiSelectionReader() override;

    QCoro::Task<Outcome> read(std::chrono::milliseconds limit) override;

private:
    FrontmostProcess frontmostProcess;
    // Shared with reads under way, which may outlive this reader.
    std::shared_ptr<AtspiBus> atspi;
};
