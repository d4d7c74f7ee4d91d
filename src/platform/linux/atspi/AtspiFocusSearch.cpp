#include "AtspiFocusSearch.h"

#include "AtspiBus.h"

#include <QQueue>

using namespace Qt::StringLiterals;
using Reply = Atspi::Reply;

namespace {

using Found = AtspiFocusSearch::Found;

QCoro::Task<Found> searchApplication(QDBusConnection bus, AtspiObject application,
                                     std::chrono::milliseconds limit) {
    struct Entry {
        AtspiObject object;
        int depth = 0;
    };
    QQueue<Entry> queue;
    queue.enqueue({application, 0});
    int asked = 0;
    while (!queue.isEmpty() && asked < AtspiFocusSearch::maximumObjects) {
        const Entry entry = queue.dequeue();
        ++asked;
        // Both at once: one round trip per object.
        auto stateCall =
            Atspi::call(bus, entry.object, Atspi::accessible, u"GetState"_s, {}, limit);
        auto childrenCall =
            Atspi::call(bus, entry.object, Atspi::accessible, u"GetChildren"_s, {}, limit);
        const Reply stateReply = co_await stateCall;
        const Reply childrenReply = co_await childrenCall;
        if (stateReply.unanswered())
            co_return Found{Found::Kind::silent, {}};
        const quint64 states = Atspi::statesFrom(stateReply.first()).value_or(0);
        if (Atspi::has(states, Atspi::stateFocused))
            co_return Found{Found::Kind::found, entry.object};
        const bool root = entry.depth == 0;
        // Hidden parts cannot hold the focus; lists that manage their own items may hold
        // thousands of them.
        if (!root && (!Atspi::has(states, Atspi::stateShowing) ||
                      Atspi::has(states, Atspi::stateManagesDescendants)))
            continue;
        if (entry.depth + 1 > AtspiFocusSearch::maximumDepth)
            continue;
        const QList<AtspiObject> children = Atspi::objectsFrom(childrenReply.first());
        for (const AtspiObject& child : children)
            queue.enqueue({child, entry.depth + 1});
    }
    co_return Found{};
}

} // namespace

QCoro::Task<Found> AtspiFocusSearch::run(AtspiBus& atspi, QDBusConnection bus, qint64 process,
                                         std::chrono::milliseconds limit) {
    const AtspiObject desktop{u"org.a11y.atspi.Registry"_s, u"/org/a11y/atspi/accessible/root"_s};
    const Reply applications =
        co_await Atspi::call(bus, desktop, Atspi::accessible, u"GetChildren"_s, {}, limit);
    if (!applications.answered())
        co_return Found{};
    bool silent = false;
    // Named: the list must outlive the suspensions in the loop.
    const QList<AtspiObject> all = Atspi::objectsFrom(applications.first());
    for (const AtspiObject& application : all) {
        if (process > 0 && co_await atspi.processOf(application.service, limit) != process)
            continue;
        const Found found = co_await searchApplication(bus, application, limit);
        if (found.kind == Found::Kind::found)
            co_return found;
        silent = silent || found.kind == Found::Kind::silent;
    }
    co_return Found{silent ? Found::Kind::silent : Found::Kind::none, {}};
}
