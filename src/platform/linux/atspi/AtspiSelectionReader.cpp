#include "AtspiSelectionReader.h"

#include "AtspiBus.h"
#include "AtspiFocusSearch.h"
#include "AtspiPasswordGuard.h"

using namespace Qt::StringLiterals;
using Reply = Atspi::Reply;
using Miss = AccessibleSelectionReader::Miss;
using Outcome = AccessibleSelectionReader::Outcome;
using Atspi::Guard;
using Atspi::passwordGuard;

namespace {

QCoro::Task<Outcome> selectedText(QDBusConnection bus, AtspiObject object,
                                  std::chrono::milliseconds limit) {
    const Reply count =
        co_await Atspi::call(bus, object, Atspi::text, u"GetNSelections"_s, {}, limit);
    if (count.unanswered())
        co_return Miss::noFocused;
    // An object without text answers with an error: it holds no selected text.
    if (!count.answered() || count.first().toInt() <= 0)
        co_return Miss::noSelection;
    // Named lists: GCC 12 cannot keep a braced list's array across a suspension.
    const QVariantList first{0};
    const Reply range =
        co_await Atspi::call(bus, object, Atspi::text, u"GetSelection"_s, first, limit);
    if (range.unanswered())
        co_return Miss::noFocused;
    const QVariantList bounds = range.message.arguments();
    if (!range.answered() || bounds.size() < 2)
        co_return Miss::noSelection;
    int start = bounds[0].toInt();
    int end = bounds[1].toInt();
    if (start > end)
        std::swap(start, end);
    if (start < 0 || start == end)
        co_return Miss::noSelection;
    const QVariantList span{start, end};
    const Reply text = co_await Atspi::call(bus, object, Atspi::text, u"GetText"_s, span, limit);
    if (text.unanswered())
        co_return Miss::noFocused;
    const QString selected = text.answered() ? text.first().toString() : QString();
    if (selected.isEmpty())
        co_return Miss::noSelection;
    co_return AccessibleSelectionReader::Read{selected, true};
}

QCoro::Task<Outcome> readFocused(std::shared_ptr<AtspiBus> atspi, qint64 frontmost,
                                 std::chrono::milliseconds limit) {
    const std::optional<QDBusConnection> bus = co_await atspi->connection(limit);
    if (!bus)
        co_return Miss::noFocused;

    std::optional<AtspiObject> focused = atspi->focused();
    // Focus last seen in another application says nothing about the one in front.
    if (focused && frontmost > 0 && co_await atspi->processOf(focused->service, limit) != frontmost)
        focused.reset();
    Guard guard = Guard::gone;
    if (focused) {
        guard = co_await passwordGuard(*bus, *focused, limit);
        // An object or application that has gone away leaves its focus event behind.
        if (guard == Guard::gone)
            atspi->forgetFocused();
    }
    if (guard == Guard::gone) {
        const auto found = co_await AtspiFocusSearch::run(*atspi, *bus, frontmost, limit);
        if (found.kind != AtspiFocusSearch::Found::Kind::found)
            co_return Miss::noFocused;
        focused = found.object;
        guard = co_await passwordGuard(*bus, *focused, limit);
    }
    if (guard == Guard::password)
        co_return Miss::passwordField;
    if (guard != Guard::clear)
        co_return Miss::noFocused;
    co_return co_await selectedText(*bus, *focused, limit);
}

} // namespace

AtspiSelectionReader::AtspiSelectionReader(FrontmostProcess frontmostProcess,
                                           QDBusConnection sessionBus)
    : frontmostProcess(std::move(frontmostProcess)),
      atspi(std::make_shared<AtspiBus>(std::move(sessionBus))) {}

AtspiSelectionReader::~AtspiSelectionReader() = default;

QCoro::Task<AccessibleSelectionReader::Outcome>
AtspiSelectionReader::read(std::chrono::milliseconds limit) {
    const qint64 frontmost = frontmostProcess ? frontmostProcess() : 0;
    return readFocused(atspi, frontmost, limit);
}
