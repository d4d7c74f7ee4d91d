#include "filter/CaptureFilter.h"

#include "base/UnicodeText.h"
#include "filter/CodeShape.h"
#include "filter/KeyMaterial.h"
#include "filter/TextFilter.h"

namespace CaptureFilter {
namespace {

// The rules that look only at the text, in the order they are tried.
struct TextRule {
    RejectReason reason;
    bool (*breaks)(QStringView text);
};

constexpr TextRule kTextRules[] = {
    {RejectReason::urlOrPath, TextFilter::looksLikeURLOrPath},
    {RejectReason::sharedLink, TextFilter::looksLikeSharedLink},
    {RejectReason::notEnglish,
     [](QStringView text) {
         return !TextFilter::looksLikeEnglish(text);
     }},
    {RejectReason::secretLike, TextFilter::hasSecretPrefix},
    {RejectReason::codeIdentifier, TextFilter::looksLikeCodeIdentifier},
    {RejectReason::secretLike, TextFilter::looksLikeSecret},
    // Beyond the single-token rules: keys and passwords inside longer text, then code that is
    // more than one identifier.
    {RejectReason::secretLike, KeyMaterial::foundIn},
    {RejectReason::codeIdentifier, CodeShape::looksLikeCode},
};

// A text refused before the key-material rule ran may still hold a key. There is nothing to
// look for in an empty or concealed text (kept by nobody) or in a repeat of a looked-up one.
Refusal refusal(RejectReason reason, QStringView text, bool keyMaterialRuledOut = false) {
    if (reason == RejectReason::secretLike)
        return {reason, true};
    const bool nothingToFind = keyMaterialRuledOut || reason == RejectReason::empty ||
                               reason == RejectReason::concealed ||
                               reason == RejectReason::duplicate;
    return {reason, !nothingToFind && KeyMaterial::foundIn(text)};
}

} // namespace

std::optional<Refusal> firstRejection(const Capture& capture, const Settings& settings,
                                      const std::optional<PreviousQuery>& previous,
                                      const QDateTime& now) {
    // Only copied text may be let through, and never for a reason outside the ignorable set:
    // secrets, concealed text and the length limit always hold.
    const bool lenient = capture.channel == Channel::clipboard && settings.showsEverything;
    const auto enforced = [lenient](RejectReason reason) {
        return !lenient || !TextFilter::ignorable().contains(reason);
    };

    const QString text = UnicodeText::trimmed(capture.text);
    if (text.isEmpty())
        return refusal(RejectReason::empty, text);
    if (capture.isConcealed)
        return refusal(RejectReason::concealed, text);
    if (capture.channel == Channel::clipboard && capture.isRemote &&
        enforced(RejectReason::remoteClipboard))
        return refusal(RejectReason::remoteClipboard, text);
    // A character takes at least one UTF-16 unit, so only a text with more units is counted.
    const qsizetype limit = TranslationLimits::characterLimit(settings.lengthLimit);
    if (text.size() > limit && UnicodeText::characterCount(text) > limit)
        return refusal(RejectReason::tooLong, text);
    if (previous && text == previous->text && previous->date.msecsTo(now) < duplicateWindowMs)
        return refusal(RejectReason::duplicate, text);
    bool keyMaterialRuledOut = false;
    for (const TextRule& rule : kTextRules) {
        if (enforced(rule.reason) && rule.breaks(text))
            return refusal(rule.reason, text, keyMaterialRuledOut);
        keyMaterialRuledOut = keyMaterialRuledOut || rule.breaks == KeyMaterial::foundIn;
    }
    return std::nullopt;
}

} // namespace CaptureFilter
