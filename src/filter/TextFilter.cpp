#include "filter/TextFilter.h"

#include "base/IcuRegex.h"
#include "base/UnicodeText.h"
#include "filter/TokenRandomness.h"

#include <unicode/uchar.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace TextFilter {
namespace {

// Tested in this order, case-sensitively.
constexpr QStringView kSecretPrefixes[] = {
    u"sk-",  u"sk_live_", u"sk_test_",    u"pk_live_", u"rk_live_",   u"ghp_",  u"gho_",
    u"ghs_", u"ghu_",     u"github_pat_", u"xoxb-",    u"xoxp-",      u"xoxa-", u"xapp-",
    u"AKIA", u"ASIA",     u"AIza",        u"eyJ",      u"-----BEGIN",
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

// Below this, a made-up password and an unusual word look alike (see TokenRandomness.h).
constexpr qsizetype kShortestSecret = 12;

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

// No code point below U+0300 is Prepend, Extend, ZWJ or SpacingMark, nor an ideograph.
constexpr char32_t kFirstJoiningCodePoint = 0x0300;

int clusterBreakClass(char32_t codePoint) {
    if (codePoint < kFirstJoiningCodePoint)
        return U_GCB_OTHER; // or a control, which joins nothing either
    return u_getIntPropertyValue(static_cast<UChar32>(codePoint), UCHAR_GRAPHEME_CLUSTER_BREAK);
}

bool isAsciiLetter(QChar unit) {
    return UnicodeText::isAsciiLetter(char32_t(unit.unicode()));
}

// What the token rules ask of one character, judged by its first code point.
struct Traits {
    bool letter = false;
    bool lower = false;
    bool upper = false;
    bool digit = false;
};

Traits traitsOf(QStringView character) {
    if (character.size() == 1 && character[0].unicode() < 0x80) { // most tokens: no ICU calls
        const QChar unit = character[0];
        return {isAsciiLetter(unit), unit >= u'a' && unit <= u'z', unit >= u'A' && unit <= u'Z',
                UnicodeText::isAsciiDigit(unit)};
    }
    const auto codePoint = static_cast<UChar32>(UnicodeText::firstCodePoint(character));
    return {bool(u_hasBinaryProperty(codePoint, UCHAR_ALPHABETIC)), bool(u_isULowercase(codePoint)),
            bool(u_isUUppercase(codePoint)), bool(u_isdigit(codePoint))};
}

// Every separator is one UTF-16 unit, so comparing units is enough.
template <size_t N> bool isOneOf(QStringView character, const QStringView (&set)[N]) {
    if (character.size() != 1)
        return false;
    for (QStringView member : set) {
        if (member.front() == character.front())
            return true;
    }
    return false;
}

// Walks the characters of a token that is cut into segments at `separators` and where a
// lower-case letter is followed by an upper-case one; with `breakAfterDigits`, also where a digit
// is followed by an upper-case letter ("utf8String"). Separators are not visited; `visit` gets
// each other character with its position and whether it opens a segment, and returns whether
// to go on. Judging while walking lets the rules stop at the first character that decides.
template <size_t N, typename Visit>
void walkSegments(QStringView text, const QStringView (&separators)[N], bool breakAfterDigits,
                  Visit visit) {
    qsizetype position = 0;
    bool opens = true;
    bool breaksBeforeUpper = false;
    UnicodeText::forEachCharacter(text, [&](QStringView character) {
        const qsizetype at = position;
        position += character.size();
        if (isOneOf(character, separators)) {
            opens = true;
            breaksBeforeUpper = false;
            return true;
        }
        const Traits traits = traitsOf(character);
        const bool opensHere = opens || (breaksBeforeUpper && traits.upper);
        opens = false;
        breaksBeforeUpper = traits.lower || (breakAfterDigits && traits.digit);
        return visit(character, traits, opensHere, at);
    });
}

bool isVowel(QStringView character) {
    if (character.size() == 1 && character[0].unicode() < 0x80)
        return kVowels.contains(character[0].toLower());
    const QString lower = UnicodeText::lowercased(character);
    for (QChar vowel : kVowels) {
        if (lower.contains(vowel))
            return true;
    }
    return false;
}

// Whether the text before the first "/" is made of the characters of a host name, with a dot,
// as the domain expression needs.
bool couldBeHost(QStringView text) {
    const qsizetype slash = text.indexOf(u'/');
    const QStringView host = slash < 0 ? text : text.first(slash);
    bool dotted = false;
    for (QChar unit : host) {
        dotted = dotted || unit == u'.';
        if (!(unit == u'.' || unit == u'-' || UnicodeText::isAsciiDigit(unit) ||
              (unit >= u'a' && unit <= u'z')))
            return false;
    }
    return dotted;
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
    // The expressions backtrack over a whole long token before they fail; testing first for the
    // text they cannot match without spares that.
    if (UnicodeText::holds(trimmed, u"://") && schemeExpression().matches(trimmed))
        return true;
    if (trimmed.contains(u'@') && emailExpression().matches(trimmed))
        return true;
    // A drive path has its colon and backslash right after the letter; looking first keeps
    // the expression (and ICU's start-up cost) away from every other text.
    const bool drivePathShape = trimmed.size() >= 3 && trimmed[1] == u':' && trimmed[2] == u'\\';
    if (trimmed.startsWith(u'/') || trimmed.startsWith(u"~/") ||
        (drivePathShape && drivePathExpression().matches(trimmed)))
        return true;
    if (UnicodeText::containsWhiteSpace(trimmed))
        return false;
    if (trimmed.startsWith(u"www."))
        return true;
    return couldBeHost(trimmed) && domainExpression().matches(trimmed);
}

bool looksLikeSharedLink(QStringView text) {
    // Every link holds this; the expression alone would try a match at each "h" of the text.
    if (!UnicodeText::holds(text, u"://"))
        return false;
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
    const bool proseBefore =
        englishWordCount(text.first(links.front().start)) >= kProseWordsAroundLink;
    const bool proseAfter =
        englishWordCount(text.sliced(links.back().end)) >= kProseWordsAroundLink;
    return !(proseBefore && proseAfter);
}

bool looksLikeEnglish(QStringView text) {
    // Segmenting into characters is the slow part of the chain, so the two counts come from the
    // neighbours of each code point instead. An ASCII letter is a character of its own unless a
    // Prepend code point precedes it or an Extend, ZWJ or SpacingMark one follows it. An
    // ideograph of cluster-break class Other never shares a character with another ideograph.
    qsizetype asciiLetters = 0;
    qsizetype cjkCharacters = 0;
    bool pendingLetter = false;
    bool afterPrepend = false;
    bool oddIdeograph = false;
    UnicodeText::forEachCodePoint(text, [&](char32_t codePoint) {
        if (codePoint >= 0x3400 && UnicodeText::isHan(codePoint)) { // an ideograph of class Other
            if (pendingLetter)
                ++asciiLetters;
            pendingLetter = afterPrepend = false;
            ++cjkCharacters;
            return true;
        }
        const int breakClass = clusterBreakClass(codePoint);
        const bool extendsPrevious = breakClass == U_GCB_EXTEND || breakClass == U_GCB_ZWJ ||
                                     breakClass == U_GCB_SPACING_MARK;
        if (pendingLetter && !extendsPrevious)
            ++asciiLetters;
        pendingLetter = codePoint < 0x80 && isAsciiLetter(QChar(codePoint)) && !afterPrepend;
        if (codePoint >= kFirstJoiningCodePoint &&
            u_hasBinaryProperty(static_cast<UChar32>(codePoint), UCHAR_IDEOGRAPHIC)) {
            oddIdeograph = breakClass != U_GCB_OTHER;
            ++cjkCharacters;
        }
        afterPrepend = breakClass == U_GCB_PREPEND;
        return !oddIdeograph;
    });
    if (pendingLetter)
        ++asciiLetters;
    if (oddIdeograph) { // a few ideographs are combining marks: segment for real
        asciiLetters = 0;
        cjkCharacters = 0;
        UnicodeText::forEachCharacter(text, [&](QStringView character) {
            if (UnicodeText::isAsciiLetter(character))
                ++asciiLetters;
            else if (isCJK(character))
                ++cjkCharacters;
            return true;
        });
    }
    return asciiLetters > 0 && asciiLetters >= kAsciiLettersPerCJK * cjkCharacters;
}

bool hasSecretPrefix(QStringView text) {
    for (QStringView prefix : kSecretPrefixes) {
        if (text.startsWith(prefix))
            return !UnicodeText::containsWhiteSpace(text);
    }
    return false;
}

bool looksLikeCodeIdentifier(QStringView text) {
    // White space is no letter, so the walk below also refuses text with white space.
    qsizetype segments = 0;
    qsizetype wordLikeSegments = 0;
    qsizetype length = 0; // of the current segment, in characters
    bool vowel = false;
    bool readsAsWords = false;
    bool lettersOnly = true;
    const auto closeSegment = [&] {
        wordLikeSegments += length >= 2 ? 1 : 0;
        readsAsWords = readsAsWords || (length > 2 && vowel);
        length = 0;
        vowel = false;
    };
    walkSegments(text, kIdentifierSeparators, false,
                 [&](QStringView character, const Traits& traits, bool opens, qsizetype) {
                     lettersOnly = traits.letter;
                     if (!lettersOnly)
                         return false;
                     if (opens) {
                         closeSegment();
                         ++segments;
                     }
                     ++length;
                     vowel = vowel || isVowel(character);
                     return true;
                 });
    closeSegment();
    return lettersOnly && segments >= 2 && wordLikeSegments >= 2 && readsAsWords;
}

bool looksLikeIdentifier(QStringView text) {
    if (text.isEmpty() || !(isAsciiLetter(text[0]) || text[0] == u'_'))
        return false;
    // Every part is ASCII letters, then ASCII digits, either may be missing ("get", "x86", "64").
    // Parts break at digit-to-upper changes too, so "base64Encoded" reads as three parts while a
    // random key still has a part with letters after digits ("B3x").
    bool shaped = true;
    bool inDigits = false;
    walkSegments(text, kIdentifierShapeSeparators, true,
                 [&](QStringView character, const Traits&, bool opens, qsizetype) {
                     const QChar unit = character.size() == 1 ? character[0] : QChar();
                     inDigits = !opens && inDigits;
                     if (UnicodeText::isAsciiDigit(unit))
                         inDigits = true;
                     else
                         shaped = isAsciiLetter(unit) && !inDigits;
                     return shaped;
                 });
    return shaped;
}

bool looksLikeSecret(QStringView text) {
    if (UnicodeText::containsWhiteSpace(text))
        return false;
    if (UnicodeText::characterCount(text) < kShortestSecret)
        return false;
    if (hasSecretPrefix(text))
        return true;
    // An identifier-shaped token is code, not a key, as long as its parts spell words: a run of
    // random letters has the shape too.
    if (looksLikeIdentifier(text))
        return !TokenRandomness::identifierReadsAsWords(text);
    return TokenRandomness::looksRandom(text);
}

bool isCJK(QStringView character) {
    bool ideograph = false;
    UnicodeText::forEachCodePoint(character, [&ideograph](char32_t codePoint) {
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
    qsizetype start = -1;
    qsizetype end = 0;
    walkSegments(text, kIdentifierSeparators, false,
                 [&](QStringView character, const Traits&, bool opens, qsizetype at) {
                     if (opens && start >= 0)
                         segments.append(text.sliced(start, end - start).toString());
                     if (opens)
                         start = at;
                     end = at + character.size();
                     return true;
                 });
    if (start >= 0)
        segments.append(text.sliced(start, end - start).toString());
    return segments;
}

} // namespace TextFilter
