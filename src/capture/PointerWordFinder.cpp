#include "capture/PointerWordFinder.h"

#include "capture/PointerDwellMonitor.h"
#include "capture/RecognizedText.h"
#include "platform/PointerSampler.h"
#include "platform/SystemPermissions.h"

#include <QLineF>
#include <QRect>
#include <cmath>

PointerWordFinder::PointerWordFinder(Dependencies dependencies) : m_deps(std::move(dependencies)) {}

QCoro::Task<PointerWordFinder::Outcome> PointerWordFinder::find(QPointF point) {
    if (m_deps.words) {
        const AccessibleWordReader::Outcome read =
            co_await m_deps.words->wordAt(point, accessibleLimit);
        if (const auto* word = std::get_if<AccessibleWordReader::Word>(&read)) {
            const QString bare = RecognizedText::bareWord(word->text);
            co_return bare.isEmpty() ? Outcome(Miss::noWordInText) : Outcome(Found{bare, false});
        }
        switch (std::get<AccessibleWordReader::Miss>(read)) {
        case AccessibleWordReader::Miss::passwordField:
            co_return Outcome(Miss::passwordField);
        case AccessibleWordReader::Miss::ownWindow:
            co_return Outcome(Miss::ownWindow);
        case AccessibleWordReader::Miss::noText:
        case AccessibleWordReader::Miss::unavailable:
            break;
        }
    }
    co_return co_await recognize(point);
}

QCoro::Task<PointerWordFinder::Outcome> PointerWordFinder::recognize(QPointF point) {
    if (!m_deps.screen)
        co_return Outcome(Miss::noWordRecognized);
    if (!m_deps.permissions.isGranted(SystemPermissions::Kind::screenRecording))
        co_return Outcome(Miss::notAuthorized);
    const QPoint centre = point.toPoint();
    const QRect crop(centre.x() - cropSize.width() / 2, centre.y() - cropSize.height() / 2,
                     cropSize.width(), cropSize.height());
    const ScreenText::Outcome read =
        co_await m_deps.screen->read(crop, ScreenText::Layout::aroundPoint, recognitionLimit);
    if (const auto* failure = std::get_if<ScreenText::Failure>(&read)) {
        switch (*failure) {
        case ScreenText::Failure::notAuthorized:
            co_return Outcome(Miss::notAuthorized);
        case ScreenText::Failure::engineMissing:
            co_return Outcome(Miss::engineMissing);
        case ScreenText::Failure::captureFailed:
        case ScreenText::Failure::timedOut:
        case ScreenText::Failure::superseded:
            co_return Outcome(Miss::unreadable);
        }
    }
    // Recognition takes a while; a pointer that has moved on no longer wants this word.
    const QPointF now = m_deps.sampler.sample().location;
    if (std::abs(now.x() - point.x()) > PointerDwellMonitor::stillDistance ||
        std::abs(now.y() - point.y()) > PointerDwellMonitor::stillDistance)
        co_return Outcome(PointerMoved{QLineF(point, now).length()});
    const auto word = RecognizedText::wordAt(std::get<ScreenText::Recognition>(read), point);
    co_return word ? Outcome(Found{*word, true}) : Outcome(Miss::noWordRecognized);
}
