#include "base/UnicodeText.h"

#include <memory>
#include <optional>
#include <unicode/brkiter.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utext.h>

namespace UnicodeText {
namespace {

// Below U+0300 no code point extends, prepends or joins a cluster, so every code point
// there is a character of its own, CR LF excepted. Most captured text takes this path.
constexpr char16_t kFirstClusterSensitiveUnit = 0x0300;
constexpr uint8_t kViramaClass = 9; // the combining class of the marks that join conjuncts

bool isSimpleText(QStringView text) {
    for (QChar c : text) {
        if (c.unicode() >= kFirstClusterSensitiveUnit)
            return false;
    }
    return true;
}

// Counts characters from each code point's cluster-break class when only the simplest
// joining rules apply: marks, joiners and emoji modifiers (Extend, ZWJ, SpacingMark) join the
// character before them unless that is a control. Nothing when any other rule could join
// (prepended marks, flags, Hangul syllables, emoji joined by ZWJ, Indic conjuncts): the break
// iterator knows those. Most text with accents or emoji takes this path, at a fraction of the
// iterator's cost.
int breakClassOf(char32_t codePoint) {
    if (codePoint == u'\r')
        return U_GCB_CR;
    if (codePoint == u'\n')
        return U_GCB_LF;
    if (codePoint < 0x20)
        return U_GCB_CONTROL;
    if (codePoint < 0x7F)
        return U_GCB_OTHER;
    // U+00AD, for one, is a control here.
    return u_getIntPropertyValue(static_cast<UChar32>(codePoint), UCHAR_GRAPHEME_CLUSTER_BREAK);
}

std::optional<qsizetype> countWithoutBreaker(QStringView text) {
    qsizetype count = 0;
    int previous = -1; // the class before, -1 at the start
    bool simple = true;
    forEachCodePoint(text, [&](char32_t codePoint) {
        const int breakClass = breakClassOf(codePoint);
        if (codePoint >= 0x7F) {
            const auto point = static_cast<UChar32>(codePoint);
            const bool joinsEmoji =
                previous == U_GCB_ZWJ && u_hasBinaryProperty(point, UCHAR_EXTENDED_PICTOGRAPHIC);
            simple = !joinsEmoji && u_getCombiningClass(point) != kViramaClass;
        }
        switch (breakClass) {
        case U_GCB_EXTEND:
        case U_GCB_ZWJ:
        case U_GCB_SPACING_MARK:
            if (previous < 0 || previous == U_GCB_CONTROL || previous == U_GCB_CR ||
                previous == U_GCB_LF)
                ++count;
            break;
        case U_GCB_LF:
            if (previous != U_GCB_CR)
                ++count;
            break;
        case U_GCB_OTHER:
        case U_GCB_CONTROL:
        case U_GCB_CR:
            ++count;
            break;
        default:
            simple = false;
        }
        previous = breakClass;
        return simple;
    });
    return simple ? std::optional(count) : std::nullopt;
}

// Making a break iterator costs far more than one walk, so each thread keeps one. A walk
// started from inside another walk's callback gets a clone of its own.
class CharacterBreaker {
public:
    CharacterBreaker() {
        thread_local std::unique_ptr<icu::BreakIterator> shared = [] {
            UErrorCode status = U_ZERO_ERROR;
            std::unique_ptr<icu::BreakIterator> made(
                icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
            return U_SUCCESS(status) ? std::move(made) : nullptr;
        }();
        thread_local bool sharedInUse = false;
        if (!shared)
            return;
        if (sharedInUse) {
            m_own.reset(shared->clone());
            m_breaker = m_own.get();
        } else {
            sharedInUse = true;
            m_inUse = &sharedInUse;
            m_breaker = shared.get();
        }
    }
    ~CharacterBreaker() {
        if (m_inUse)
            *m_inUse = false;
    }
    CharacterBreaker(const CharacterBreaker&) = delete;
    CharacterBreaker& operator=(const CharacterBreaker&) = delete;

    icu::BreakIterator* get() const { return m_breaker; }

private:
    icu::BreakIterator* m_breaker = nullptr;
    std::unique_ptr<icu::BreakIterator> m_own;
    bool* m_inUse = nullptr;
};

} // namespace

bool isHan(char32_t codePoint) {
    return (codePoint >= 0x4E00 && codePoint <= 0x9FFF) ||
           (codePoint >= 0x3400 && codePoint <= 0x4DBF);
}

QString trimmed(QStringView text) {
    // White_Space lies entirely in the BMP, so unit-wise trimming is exact.
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && isWhiteSpace(text[begin].unicode()))
        ++begin;
    while (end > begin && isWhiteSpace(text[end - 1].unicode()))
        --end;
    return text.sliced(begin, end - begin).toString();
}

QStringView trimmedOfBlanks(QStringView text) {
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && (text[begin] == u' ' || text[begin] == u'\t'))
        ++begin;
    while (end > begin && (text[end - 1] == u' ' || text[end - 1] == u'\t'))
        --end;
    return text.sliced(begin, end - begin);
}

bool containsWhiteSpace(QStringView text) {
    for (QChar c : text) {
        if (isWhiteSpace(c.unicode()))
            return true;
    }
    return false;
}

bool containsLineBreak(QStringView text) {
    for (QChar c : text) {
        if (isLineBreak(c.unicode()))
            return true;
    }
    return false;
}

bool containsHan(QStringView text) {
    for (QChar c : text) {
        if (isHan(c.unicode())) // both Han ranges are in the BMP
            return true;
    }
    return false;
}

void forEachCharacter(QStringView text, const std::function<bool(QStringView)>& visit) {
    const qsizetype size = text.size();
    if (size == 0)
        return;
    std::optional<CharacterBreaker> owner;
    if (!isSimpleText(text))
        owner.emplace();
    icu::BreakIterator* breaker = owner ? owner->get() : nullptr;
    if (!breaker) {
        for (qsizetype i = 0; i < size;) {
            const qsizetype length =
                (text[i] == u'\r' && i + 1 < size && text[i + 1] == u'\n') ? 2 : 1;
            if (!visit(text.sliced(i, length)))
                return;
            i += length;
        }
        return;
    }
    UErrorCode status = U_ZERO_ERROR;
    UText* utext = utext_openUChars(nullptr, reinterpret_cast<const UChar*>(text.utf16()),
                                    static_cast<int64_t>(size), &status);
    if (U_FAILURE(status)) {
        utext_close(utext);
        return;
    }
    breaker->setText(utext, status);
    int32_t start = breaker->first();
    for (int32_t end = breaker->next(); end != icu::BreakIterator::DONE;
         start = end, end = breaker->next()) {
        if (!visit(text.sliced(start, end - start)))
            break;
    }
    // Detach the iterator from the text before the UText goes away.
    breaker->setText(icu::UnicodeString());
    utext_close(utext);
}

bool holds(QStringView text, QStringView needle) {
    if (needle.isEmpty())
        return true;
    for (qsizetype at = text.indexOf(needle.front()); at >= 0;
         at = text.indexOf(needle.front(), at + 1)) {
        if (text.sliced(at).startsWith(needle))
            return true;
    }
    return false;
}

qsizetype characterCount(QStringView text) {
    if (isSimpleText(text)) {
        qsizetype crlf = 0;
        for (qsizetype i = 0; i + 1 < text.size(); ++i) {
            if (text[i] == u'\r' && text[i + 1] == u'\n')
                ++crlf;
        }
        return text.size() - crlf;
    }
    if (const std::optional<qsizetype> count = countWithoutBreaker(text))
        return *count;
    qsizetype count = 0;
    forEachCharacter(text, [&count](QStringView) {
        ++count;
        return true;
    });
    return count;
}

QStringView leadingCharacters(QStringView text, qsizetype count) {
    qsizetype units = 0;
    qsizetype taken = 0;
    if (count <= 0)
        return text.first(0);
    forEachCharacter(text, [&](QStringView character) {
        units += character.size();
        return ++taken < count;
    });
    return text.first(units);
}

char32_t firstCodePoint(QStringView character) {
    if (character.isEmpty())
        return 0;
    const QChar first = character[0];
    if (first.isHighSurrogate() && character.size() > 1 && character[1].isLowSurrogate())
        return QChar::surrogateToUcs4(first, character[1]);
    return first.unicode();
}

bool isLetter(QStringView character) {
    return !character.isEmpty() &&
           u_hasBinaryProperty(static_cast<UChar32>(firstCodePoint(character)), UCHAR_ALPHABETIC);
}

bool isAsciiLetter(QStringView character) {
    return character.size() == 1 && isAsciiLetter(char32_t(character[0].unicode()));
}

QString lowercased(QStringView text) {
    bool ascii = true;
    for (QChar c : text)
        ascii = ascii && c.unicode() < 0x80;
    if (ascii)
        return text.toString().toLower();
    icu::UnicodeString unicode(reinterpret_cast<const UChar*>(text.utf16()),
                               static_cast<int32_t>(text.size()));
    unicode.toLower(icu::Locale::getRoot());
    return QString(reinterpret_cast<const QChar*>(unicode.getBuffer()), unicode.length());
}

} // namespace UnicodeText
