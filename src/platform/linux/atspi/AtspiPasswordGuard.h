#pragma once

#include "AtspiCalls.h"

#include <QCoroTask>
#include <QDBusConnection>
#include <chrono>

namespace Atspi {

// Whether an object may be read: not when it or one of its three nearest ancestors is a
// password field (toolkits put an ordinary text object inside their password entries), and
// not when it did not answer or is gone.
enum class Guard { clear, password, silent, gone };

QCoro::Task<Guard> passwordGuard(QDBusConnection bus, AtspiObject object,
                                 std::chrono::milliseconds limit);

} // namespace Atspi
