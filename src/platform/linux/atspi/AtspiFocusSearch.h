#pragma once

#include "AtspiCalls.h"

#include <QCoroTask>
#include <QDBusConnection>
#include <chrono>
#include <optional>

class AtspiBus;

// Finds the focused object when no focus event named it: walks the applications on the
// desktop (only the one run by `process`, when it is known) and searches each one's showing
// objects for the focused state, breadth first, bounded in depth and in the number of
// objects asked.
struct AtspiFocusSearch {
    static constexpr int maximumDepth = 16;
    static constexpr int maximumObjects = 400;

    struct Found {
        enum class Kind { found, none, silent };
        Kind kind = Kind::none;
        AtspiObject object;
    };

    static QCoro::Task<Found> run(AtspiBus& atspi, QDBusConnection bus, qint64 process,
                                  std::chrono::milliseconds limit);
};
