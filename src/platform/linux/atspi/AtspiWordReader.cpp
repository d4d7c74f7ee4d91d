#include "AtspiWordReader.h"

#include "AtspiBus.h"
#include "AtspiPasswordGuard.h"

#include <QCoreApplication>
#include <QPoint>
#include <QRect>
#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;
using Reply = Atspi::Reply;
using Miss = AccessibleWordReader::Miss;
using Outcome = AccessibleWordReader::Outcome;

namespace {

const QString component = u"org.a11y.atspi.Component"_s;
const QString nullPath = u"/org/a11y/atspi/null"_s;
constexpr uint screenCoordinates = 0;
// Text objects sit a level or two above what the pointer is on (a label in a cell, the
// viewport of a text view); farther up is another control's text.
constexpr int textAncestorsAsked = 3;
// Deeper than any real window: a guard against an application that keeps answering.
constexpr int deepestDescent = 32;

// A word with nothing to look up in it is no word.
bool hasLetterOrDigit(const QString& text) {
    return std::any_of(text.begin(), text.end(), [](QChar c) { return c.isLetterOrNumber(); });
}

bool isObject(const std::optional<AtspiObject>& object) {
    return object && !object->service.isEmpty() && !object->path.isEmpty() &&
           object->path != nullPath;
}

QCoro::Task<std::optional<AtspiObject>> applicationOf(AtspiBus& atspi, QDBusConnection bus,
                                                      qint64 process,
                                                      std::chrono::milliseconds limit) {
    const AtspiObject desktop{u"org.a11y.atspi.Registry"_s, u"/org/a11y/atspi/accessible/root"_s};
    const Reply applications =
        co_await Atspi::call(bus, desktop, Atspi::accessible, u"GetChildren"_s, {}, limit);
    // Named: the list must outlive the suspensions in the loop.
    const QList<AtspiObject> all = Atspi::objectsFrom(applications.first());
    for (const AtspiObject& application : all)
        if (co_await atspi.processOf(application.service, limit) == process)
            co_return application;
    co_return std::nullopt;
}

// The application's showing window that holds the point: applications themselves have no
// place on the screen to ask about.
QCoro::Task<std::optional<AtspiObject>> windowAt(QDBusConnection bus, AtspiObject application,
                                                 QPoint point, std::chrono::milliseconds limit) {
    const Reply children =
        co_await Atspi::call(bus, application, Atspi::accessible, u"GetChildren"_s, {}, limit);
    const QList<AtspiObject> windows = Atspi::objectsFrom(children.first());
    const QVariantList here{point.x(), point.y(), screenCoordinates};
    for (const AtspiObject& window : windows) {
        auto containsCall = Atspi::call(bus, window, component, u"Contains"_s, here, limit);
        auto stateCall = Atspi::call(bus, window, Atspi::accessible, u"GetState"_s, {}, limit);
        const Reply contains = co_await containsCall;
        const Reply state = co_await stateCall;
        const quint64 states = Atspi::statesFrom(state.first()).value_or(0);
        if (contains.answered() && contains.first().toBool() &&
            Atspi::has(states, Atspi::stateShowing))
            co_return window;
    }
    co_return std::nullopt;
}

// Down from the window to the deepest object at the point.
QCoro::Task<AtspiObject> deepestAt(QDBusConnection bus, AtspiObject object, QPoint point,
                                   std::chrono::milliseconds limit) {
    const QVariantList here{point.x(), point.y(), screenCoordinates};
    for (int level = 0; level < deepestDescent; ++level) {
        const Reply child =
            co_await Atspi::call(bus, object, component, u"GetAccessibleAtPoint"_s, here, limit);
        const std::optional<AtspiObject> next =
            child.answered() ? Atspi::objectFrom(child.first()) : std::nullopt;
        if (!isObject(next) || *next == object)
            break;
        object = *next;
    }
    co_return object;
}

struct TextAt {
    AtspiObject object;
    int offset = -1;
};

// The object itself or its nearest ancestor with text, and the character at the point. Asked
// for its interfaces first: toolkits answer a call to one an object lacks in their own ways,
// Qt's as if the object were gone.
QCoro::Task<std::optional<TextAt>> textAt(QDBusConnection bus, AtspiObject object, QPoint point,
                                          std::chrono::milliseconds limit) {
    for (int level = 0; level <= textAncestorsAsked; ++level) {
        auto interfacesCall =
            Atspi::call(bus, object, Atspi::accessible, u"GetInterfaces"_s, {}, limit);
        auto parentCall = Atspi::property(bus, object, u"Parent"_s, limit);
        const Reply interfaces = co_await interfacesCall;
        const Reply parent = co_await parentCall;
        if (!interfaces.answered())
            co_return std::nullopt;
        if (interfaces.first().toStringList().contains(Atspi::text)) {
            const QVariantList here{point.x(), point.y(), screenCoordinates};
            const Reply offset =
                co_await Atspi::call(bus, object, Atspi::text, u"GetOffsetAtPoint"_s, here, limit);
            if (!offset.answered())
                co_return std::nullopt;
            co_return TextAt{object, offset.first().toInt()};
        }
        const std::optional<AtspiObject> next = Atspi::objectFrom(parent.first());
        if (!isObject(next))
            co_return std::nullopt;
        object = *next;
    }
    co_return std::nullopt;
}

enum class Extent { holds, misses, unknown };

QCoro::Task<Extent> characterHolds(QDBusConnection bus, AtspiObject object, int offset,
                                   QPoint point, std::chrono::milliseconds limit) {
    const QVariantList arguments{offset, screenCoordinates};
    const Reply extents =
        co_await Atspi::call(bus, object, Atspi::text, u"GetCharacterExtents"_s, arguments, limit);
    const QVariantList box = extents.message.arguments();
    if (!extents.answered() || box.size() < 4)
        co_return Extent::unknown;
    const QRect rect(box[0].toInt(), box[1].toInt(), box[2].toInt(), box[3].toInt());
    if (rect.width() <= 0 || rect.height() <= 0)
        co_return Extent::unknown;
    // A pixel of slack: edges are rounded differently by each toolkit.
    co_return rect.adjusted(-1, -1, 1, 1).contains(point) ? Extent::holds : Extent::misses;
}

// Applications answer with the cursor position nearest the point, which on a character's
// right half is the next character's, and past the end of a line is the line's end: the
// character whose box holds the point, or none.
QCoro::Task<int> characterAt(QDBusConnection bus, TextAt text, QPoint point,
                             std::chrono::milliseconds limit) {
    const Extent here = co_await characterHolds(bus, text.object, text.offset, point, limit);
    if (here != Extent::misses)
        co_return text.offset;
    if (text.offset > 0 &&
        co_await characterHolds(bus, text.object, text.offset - 1, point, limit) == Extent::holds)
        co_return text.offset - 1;
    co_return -1;
}

struct Span {
    QString text;
    bool asked = false; // false: the application does not know the method
};

// GetStringAtOffset where the application has it, GetTextAtOffset where it does not.
QCoro::Task<Span> stringAt(QDBusConnection bus, AtspiObject object, int offset, uint granularity,
                           uint boundary, bool modern, std::chrono::milliseconds limit) {
    if (modern) {
        const QVariantList arguments{offset, granularity};
        const Reply reply = co_await Atspi::call(bus, object, Atspi::text, u"GetStringAtOffset"_s,
                                                 arguments, limit);
        if (reply.answered())
            co_return Span{reply.first().toString(), true};
        if (reply.kind == Reply::Kind::silent)
            co_return Span{{}, true};
        // Refused, or (Qt) "no such object": the application does not have it.
    }
    const QVariantList arguments{offset, boundary};
    const Reply reply =
        co_await Atspi::call(bus, object, Atspi::text, u"GetTextAtOffset"_s, arguments, limit);
    co_return Span{reply.answered() ? reply.first().toString() : QString(), false};
}

// The word granularity of GetStringAtOffset and the word boundary of GetTextAtOffset.
constexpr uint wordGranularity = 1;
constexpr uint wordStart = 1;

QCoro::Task<Outcome> readWord(std::shared_ptr<AtspiBus> atspi,
                              std::shared_ptr<QSet<QString>> withoutStringAtOffset, qint64 process,
                              QPoint point, std::chrono::milliseconds limit) {
    const std::optional<QDBusConnection> bus = co_await atspi->connection(limit);
    if (!bus)
        co_return Miss::unavailable;
    const std::optional<AtspiObject> application =
        co_await applicationOf(*atspi, *bus, process, limit);
    if (!application)
        co_return Miss::noText;
    const std::optional<AtspiObject> window = co_await windowAt(*bus, *application, point, limit);
    if (!window)
        co_return Miss::noText;
    const AtspiObject deepest = co_await deepestAt(*bus, *window, point, limit);
    const Atspi::Guard guard = co_await Atspi::passwordGuard(*bus, deepest, limit);
    if (guard == Atspi::Guard::password)
        co_return Miss::passwordField;
    if (guard != Atspi::Guard::clear)
        co_return Miss::noText;
    const std::optional<TextAt> text = co_await textAt(*bus, deepest, point, limit);
    if (!text || text->offset < 0)
        co_return Miss::noText;
    const int offset = co_await characterAt(*bus, *text, point, limit);
    if (offset < 0)
        co_return Miss::noText;

    const bool modern = !withoutStringAtOffset->contains(text->object.service);
    const Span word =
        co_await stringAt(*bus, text->object, offset, wordGranularity, wordStart, modern, limit);
    if (modern && !word.asked)
        withoutStringAtOffset->insert(text->object.service);
    if (!hasLetterOrDigit(word.text))
        co_return Miss::noText;
    co_return AccessibleWordReader::Word{word.text};
}

} // namespace

AtspiWordReader::AtspiWordReader(ProcessAt processAt, QDBusConnection sessionBus)
    : processAt(std::move(processAt)), atspi(std::make_shared<AtspiBus>(std::move(sessionBus))),
      withoutStringAtOffset(std::make_shared<QSet<QString>>()) {}

AtspiWordReader::~AtspiWordReader() = default;

QCoro::Task<Outcome> AtspiWordReader::wordAt(QPointF point, std::chrono::milliseconds limit) {
    const QPoint pixel(int(std::floor(point.x())), int(std::floor(point.y())));
    const std::optional<qint64> process = processAt ? processAt(point) : std::nullopt;
    if (!process || *process <= 0)
        co_return Miss::noText;
    if (*process == QCoreApplication::applicationPid())
        co_return Miss::ownWindow;
    co_return co_await readWord(atspi, withoutStringAtOffset, *process, pixel, limit);
}
