#include "AtspiPasswordGuard.h"

using namespace Qt::StringLiterals;

namespace Atspi {

namespace {
constexpr int ancestorsAsked = 3;
} // namespace

QCoro::Task<Guard> passwordGuard(QDBusConnection bus, AtspiObject object,
                                 std::chrono::milliseconds limit) {
    for (int level = 0; level <= ancestorsAsked; ++level) {
        auto roleCall = call(bus, object, accessible, u"GetRole"_s, {}, limit);
        auto parentCall = property(bus, object, u"Parent"_s, limit);
        const Reply role = co_await roleCall;
        const Reply parent = co_await parentCall;
        if (role.kind == Reply::Kind::silent)
            co_return Guard::silent;
        if (role.kind == Reply::Kind::gone)
            co_return Guard::gone;
        const uint number = role.first().toUInt();
        if (number == rolePasswordText)
            co_return Guard::password;
        const std::optional<AtspiObject> next = objectFrom(parent.first());
        if (number == roleApplication || !next || next->service.isEmpty() ||
            next->path == u"/org/a11y/atspi/null"_s)
            break;
        object = *next;
    }
    co_return Guard::clear;
}

} // namespace Atspi
