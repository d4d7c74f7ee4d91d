// libFuzzer target: every text rule and the capture chain on arbitrary UTF-8.
#include "base/UnicodeText.h"
#include "filter/CaptureFilter.h"
#include "filter/CodeShape.h"
#include "filter/KeyMaterial.h"
#include "filter/TextFilter.h"
#include "filter/TokenRandomness.h"

#include <cstdint>
#include <cstdlib>

namespace {

void require(bool condition) {
    if (!condition)
        std::abort();
}

// Englishness from real character segmentation, which the filter avoids for speed.
bool looksLikeEnglishBySegmenting(QStringView text) {
    qsizetype asciiLetters = 0;
    qsizetype cjkCharacters = 0;
    UnicodeText::forEachCharacter(text, [&](QStringView character) {
        if (UnicodeText::isAsciiLetter(character))
            ++asciiLetters;
        else if (TextFilter::isCJK(character))
            ++cjkCharacters;
        return true;
    });
    return asciiLetters > 0 && asciiLetters >= 3 * cjkCharacters;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), qsizetype(size));

    TextFilter::kind(text);
    TextFilter::looksLikeURLOrPath(text);
    TextFilter::looksLikeSharedLink(text);
    require(TextFilter::looksLikeEnglish(text) == looksLikeEnglishBySegmenting(text));
    TextFilter::looksLikeIdentifier(text);
    const qsizetype words = TextFilter::englishWordCount(text);
    require(words >= 0 && words <= text.size() / 2);
    // The count without the break iterator agrees with a walk that uses it.
    qsizetype characters = 0;
    UnicodeText::forEachCharacter(text, [&characters](QStringView character) {
        ++characters;
        TextFilter::isCJK(character);
        return true;
    });
    require(UnicodeText::characterCount(text) == characters);

    const bool prefixed = TextFilter::hasSecretPrefix(text);
    const bool secret = TextFilter::looksLikeSecret(text);
    require(!secret || !UnicodeText::containsWhiteSpace(text));
    require(!prefixed || secret || UnicodeText::characterCount(text) < 12);
    TokenRandomness::bitsPerCharacter(text);
    CodeShape::looksLikeCode(text);

    const QStringList segments = TextFilter::identifierSegments(text);
    for (const QString& segment : segments)
        require(!segment.isEmpty() && text.contains(segment));
    require(!TextFilter::looksLikeCodeIdentifier(text) || segments.size() >= 2);

    const QDateTime now = QDateTime::fromMSecsSinceEpoch(1'700'000'000'000, Qt::UTC);
    const PreviousQuery previous{UnicodeText::trimmed(text), now.addSecs(-30)};
    const CaptureFilter::Settings everything{TranslationLimit::standard, true};
    for (const auto channel :
         {CaptureFilter::Channel::clipboard, CaptureFilter::Channel::onDemand}) {
        const CaptureFilter::Capture capture{text, channel, false, true};
        const auto reasonOf = [](const std::optional<CaptureFilter::Refusal>& refusal) {
            return refusal ? std::optional(refusal->reason) : std::nullopt;
        };
        const auto strict = CaptureFilter::firstRejection(capture, {}, std::nullopt, now);
        const auto lenient = CaptureFilter::firstRejection(capture, everything, std::nullopt, now);
        // The setting only ever lets copied text through, and only for ignorable reasons.
        if (channel == CaptureFilter::Channel::clipboard)
            require(!lenient || !TextFilter::ignorable().contains(lenient->reason));
        else
            require(lenient == strict);
        // Whatever the reason, a text holding key material is never kept.
        require(!strict || strict->keepsNoCopy() || !KeyMaterial::foundIn(text));
        const auto repeated = reasonOf(CaptureFilter::firstRejection(capture, {}, previous, now));
        require(!repeated || *repeated <= RejectReason::duplicate || repeated == reasonOf(strict));
        require(
            reasonOf(CaptureFilter::firstRejection({text, channel, true}, {}, std::nullopt, now))
                .value_or(RejectReason::duplicate) <= RejectReason::concealed);
    }
    return 0;
}
