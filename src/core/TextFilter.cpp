#include "core/TextFilter.h"

#include "core/IcuRegex.h"
#include "core/UnicodeText.h"

#include <unicode/uchar.h>

#include <vector>

using namespace Qt::StringLiterals;

namespace TextFilter {
namespace {

// Tested in this order, case-sensitively.
constexpr QStringView kSecretPrefixes[] = {
    u"sk-",   u"sk_live_", u"sk_test_", u"pk_live_", u"rk_live_", u"ghp_",       u"gho_",
    u"ghs_",  u"ghu_",     u"github_pat_", u"xoxb-", u"xoxp-",    u"xoxa-",      u"xapp-",
    u"AKIA",  u"ASIA",     u"AIza",    u"eyJ",      u"-----BEGIN",
};

// Where a code identifier breaks into words, besides camel case.
constexpr QStringView kIdentifierSeparators[] = {u"_", u".", u"/", u":"};
// The identifier-shape test also breaks hyphenated and possessive words ("mother-in-law's"),
// so that ordinary long words are never taken for keys.
constexpr QStringView kIdentifierShapeSeparators[] = {u"_", u".", u"-", u"'", u"’", u"/", u":"};

constexpr QStringView kVowels = u"aeiouy";

// A share of a link is a short message: fewer words than this around the link.
constexpr qsizetype kSharedLinkWordLimit = 21;
// A link with at least this many words on both sides is quoted inside prose, not shared.
constexpr qsizetype kProseWordsAroundLink = 2;

// English needs at least this many ASCII letters per CJK character.
constexpr qsizetype kAsciiLettersPerCJK = 3;

constexpr qsizetype kShortestSecret = 12;
// The usual password-policy bar: three of lower case, upper case, digits and others. Two
// classes alone are common in ordinary words ("covid19", "state-of-the-art").
constexpr int kSecretCharacterClasses = 3;
// Hex and base64 keys may use only letters and digits; they are long.
constexpr qsizetype kShortestLetterDigitKey = 20;

const IcuRegex& linkExpression() {
    static const IcuRegex expression(uR"re(https?://[A-Za-z0-9\-._~:/?#\[\]@!$&'()*+,;=%]+)re");
    return expression;
}

const IcuRegex& schemeExpression() {
    static const IcuRegex expression(uR"re(^[a-z][a-z0-9+.\-]*://)re");
    return expression;
}

const IcuRegex& emailExpression() {
    static const IcuRegex expression(uR"re(^[^\s@]+@[^\s@]+\.[a-z]{2,}$)re");
    return expression;
}

const IcuRegex& domainExpression() {
    static const IcuRegex expression(
        uR"re(^[a-z0-9\-]+(\.[a-z0-9\-]+)*\.(com|org|net|io|dev|app|co|cn|edu|gov|me|ai|xyz|info)(/\S*)?$)re");
    return expression;
}

const IcuRegex& drivePathExpression() {
    static const IcuRegex expression(uR"re(^[a-z]:\\)re");
    return expression;
}

template <size_t N> bool isOneOf(QStringView character, const QStringView (&set)[N]) {
    for (QStringView member : set) {
        if (character == member)
            return true;
    }
    return false;
}

template <typename Visit> void forEachCodePoint(QStringView text, Visit visit) {
    for (qsizetype i = 0; i < text.size(); ++i) {
        char32_t codePoint = text[i].unicode();
        if (text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            codePoint = QChar::surrogateToUcs4(text[i], text[i + 1]);
            ++i;
        }
        if (!visit(codePoint))
            return;
    }
}

bool isLowerCase(QStringView character) {
    return u_isULowercase(static_cast<UChar32>(UnicodeText::firstCodePoint(character)));
}

bool isUpperCase(QStringView character) {
    return u_isUUppercase(static_cast<UChar32>(UnicodeText::firstCodePoint(character)));
}

bool isDigit(QStringView character) {
    return u_isdigit(static_cast<UChar32>(UnicodeText::firstCodePoint(character)));
}

bool isAsciiDigit(QChar unit) {
    return unit >= u'0' && unit <= u'9';
}

bool isAsciiLetter(QChar unit) {
    return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z');
}

// Splits a token at the given separator characters and where a lower-case letter is followed
// by an upper-case one; with `breakAfterDigits`, also where a digit is followed by an
// upper-case letter ("utf8String"). Empty pieces are dropped.
template <size_t N>
std::vector<QStringView> splitToken(QStringView text, const QStringView (&separators)[N],
                                    bool breakAfterDigits) {
    std::vector<QStringView> pieces;
    qsizetype start = 0;
    qsizetype position = 0;
    bool breaksBeforeUpper = false;
    const auto cut = [&](qsizetype end) {
        if (end > start)
            pieces.push_back(text.sliced(start, end - start));
    };
    UnicodeText::forEachCharacter(text, [&](QStringView character) {
        if (isOneOf(character, separators)) {
            cut(position);
            start = position + character.size();
            breaksBeforeUpper = false;
        } else {
            if (breaksBeforeUpper && isUpperCase(character)) {
                cut(position);
                start = position;
            }
            breaksBeforeUpper =
                isLowerCase(character) || (breakAfterDigits && isDigit(character));
        }
        position += character.size();
        return true;
    });
    cut(position);
    return pieces;
}

bool consistsOfLetters(QStringView text) {
    bool letters = true;
    UnicodeText::forEachCharacter(text, [&letters](QStringView character) {
        letters = UnicodeText::isLetter(character);
        return letters;
    });
    return letters;
}

// ASCII letters, then ASCII digits; either may be missing ("get", "x86", "64").
bool isLettersThenDigits(QStringView part) {
    qsizetype i = 0;
    while (i < part.size() && isAsciiLetter(part[i]))
        ++i;
    while (i < part.size() && isAsciiDigit(part[i]))
        ++i;
    return i == part.size();
}

} // namespace

const QSet<RejectReason>& ignorable() {
    static const QSet<RejectReason> reasons = {
        RejectReason::urlOrPath,  RejectReason::sharedLink,      RejectReason::codeIdentifier,
        RejectReason::notEnglish, RejectReason::remoteClipboard,
    };
    return reasons;
}

QueryKind kind(QStringView text) {
    const QString trimmed = UnicodeText::trimmed(text);
    if (UnicodeText::containsWhiteSpace(trimmed))
        return QueryKind::sentence;
    bool wordLike = true;
    UnicodeText::forEachCharacter(trimmed, [&wordLike](QStringView character) {
        wordLike = UnicodeText::isLetter(character) || character == u"-" || character == u"'" ||
                   character == u"’";
        return wordLike;
    });
    return wordLike ? QueryKind::word : QueryKind::sentence;
}

bool looksLikeURLOrPath(QStringView text) {
    // Several lines are a passage that may mention addresses, not an address.
    if (UnicodeText::containsLineBreak(text))
        return false;
    const QString trimmed = UnicodeText::trimmed(text);
    if (schemeExpression().matches(trimmed) || emailExpression().matches(trimmed))
        return true;
    if (trimmed.startsWith(u'/') || trimmed.startsWith(u"~/") ||
        drivePathExpression().matches(trimmed))
        return true;
    if (UnicodeText::containsWhiteSpace(trimmed))
        return false;
    return trimmed.startsWith(u"www.") || domainExpression().matches(trimmed);
}

bool looksLikeSharedLink(QStringView text) {
    const std::vector<IcuRegex::Match> links = linkExpression().findAll(text);
    if (links.empty())
        return false;
    // What the sharer wrote around the links.
    QString remainder;
    qsizetype from = 0;
    for (const IcuRegex::Match& link : links) {
        remainder += text.sliced(from, link.start - from);
        remainder += u' ';
        from = link.end;
    }
    remainder += text.sliced(from);
    if (englishWordCount(remainder) >= kSharedLinkWordLimit)
        return false;
    const bool proseBefore = englishWordCount(text.first(links.front().start)) >= kProseWordsAroundLink;
    const bool proseAfter = englishWordCount(text.sliced(links.back().end)) >= kProseWordsAroundLink;
    return !(proseBefore && proseAfter);
}

bool looksLikeEnglish(QStringView text) {
    qsizetype asciiLetters = 0;
    qsizetype cjkCharacters = 0;
    UnicodeText::forEachCharacter(text, [&](QStringView character) {
        if (UnicodeText::isAsciiLetter(character))
            ++asciiLetters;
        else if (isCJK(character))
            ++cjkCharacters;
        return true;
    });
    return asciiLetters > 0 && asciiLetters >= kAsciiLettersPerCJK * cjkCharacters;
}

bool hasSecretPrefix(QStringView text) {
    if (UnicodeText::containsWhiteSpace(text))
        return false;
    for (QStringView prefix : kSecretPrefixes) {
        if (text.startsWith(prefix))
            return true;
    }
    return false;
}

bool looksLikeCodeIdentifier(QStringView text) {
    if (UnicodeText::containsWhiteSpace(text))
        return false;
    const std::vector<QStringView> segments =
        splitToken(text, kIdentifierSeparators, /*breakAfterDigits=*/false);
    if (segments.size() < 2)
        return false;
    for (QStringView segment : segments) {
        if (!consistsOfLetters(segment))
            return false;
    }
    qsizetype wordLikeSegments = 0;
    bool readsAsWords = false;
    for (QStringView segment : segments) {
        const qsizetype length = UnicodeText::characterCount(segment);
        if (length < 2)
            continue;
        ++wordLikeSegments;
        if (length > 2) {
            const QString lower = UnicodeText::lowercased(segment);
            for (QChar vowel : kVowels)
                readsAsWords = readsAsWords || lower.contains(vowel);
        }
    }
    return wordLikeSegments >= 2 && readsAsWords;
}

bool looksLikeIdentifier(QStringView text) {
    if (text.isEmpty() || !(isAsciiLetter(text[0]) || text[0] == u'_'))
        return false;
    // Parts break at digit-to-upper changes too, so "base64Encoded" reads as three parts while
    // a random key still has a part with letters after digits ("B3x").
    for (QStringView part : splitToken(text, kIdentifierShapeSeparators, true)) {
        if (!isLettersThenDigits(part))
            return false;
    }
    return true;
}

bool looksLikeSecret(QStringView text) {
    if (UnicodeText::containsWhiteSpace(text))
        return false;
    const qsizetype length = UnicodeText::characterCount(text);
    if (length < kShortestSecret)
        return false;
    if (hasSecretPrefix(text))
        return true;
    if (looksLikeIdentifier(text))
        return false;
    bool lower = false;
    bool upper = false;
    bool digit = false;
    bool other = false;
    UnicodeText::forEachCharacter(text, [&](QStringView character) {
        if (isLowerCase(character))
            lower = true;
        else if (isUpperCase(character))
            upper = true;
        else if (isDigit(character))
            digit = true;
        else
            other = true;
        return true;
    });
    const int classes = int(lower) + int(upper) + int(digit) + int(other);
    return classes >= kSecretCharacterClasses ||
           (length >= kShortestLetterDigitKey && (lower || upper) && digit);
}

bool isCJK(QStringView character) {
    bool ideograph = false;
    forEachCodePoint(character, [&ideograph](char32_t codePoint) {
        ideograph = u_hasBinaryProperty(static_cast<UChar32>(codePoint), UCHAR_IDEOGRAPHIC);
        return !ideograph;
    });
    return ideograph;
}

qsizetype englishWordCount(QStringView text) {
    qsizetype words = 0;
    qsizetype run = 0;
    UnicodeText::forEachCharacter(text, [&](QStringView character) {
        if (UnicodeText::isLetter(character)) {
            ++run;
        } else {
            words += run > 1 ? 1 : 0;
            run = 0;
        }
        return true;
    });
    return words + (run > 1 ? 1 : 0);
}

QStringList identifierSegments(QStringView text) {
    QStringList segments;
    for (QStringView segment : splitToken(text, kIdentifierSeparators, false))
        segments.append(segment.toString());
    return segments;
}

} // namespace TextFilter
