#include "filter/TokenRandomness.h"

#include "base/UnicodeText.h"

#include <algorithm>
#include <unicode/uchar.h>
#include <vector>

namespace TokenRandomness {
namespace {

#include "filter/LetterPairTable.inc"

// Costs in tenths of a bit.
constexpr int kUnknownLetterPair = 45; // a letter the table does not know (é, ß, я…)
constexpr int kDigit = 33;             // log2(10)
constexpr int kSeparator = 20;
constexpr int kOtherSign = 60;
constexpr int kKindChange = 20;
constexpr int kCasePattern = 10; // Capitalized or ALL CAPS; anything else costs this per letter

// Measured on English words, names and identifiers against random tokens of many alphabets
// (bench/filter-corpus): the mean surprise of long letter parts, in bits per letter pair
// (a part's edges count as letters), above which they are not words. Each part gets an
// allowance too: short words vary more ("yourself" costs 5.0 bits a pair).
constexpr double kWordSurprise = 4.9;
constexpr double kPartAllowance = 4.0; // bits
// The parts cut off by case changes and digits together, abbreviations too, in bits per letter
// pair: "getElementById" costs 3.8, "XMLHttpRequest" 5.2, random capitals and small letters
// 5.9 (99 % above 4.8).
constexpr double kPartsSurprise = 5.3;
// Parts of fewer letters are abbreviations ("cfg", "IPV", "hw"); they are judged by number.
constexpr int kLongPart = 5;
constexpr int kExtraAbbreviations = 3;
constexpr size_t kExtraAbbreviationLetters = 4; // "AES256GCMMode" has 6 to "Mode"'s 4
// Changes of case cut random letters into bits ("LeXSyYVgsn" is Le|X|Sy|Y|Vgsn); an
// identifier has few parts of one or two letters ("getElementById", "iPhone").
constexpr int kTinyPart = 2;
constexpr size_t kTinyShare = 3; // at most one letter in this many in tiny parts
// Bits per character above which a token that is not identifier-shaped is random.
constexpr double kRandomBitsPerCharacter = 5.2;
// Chunks this short between separators are too short to judge ("x86", "gnu", "v2").
constexpr int kShortChunk = 4;
constexpr int kUnitLetters = 3; // "256gb", "100mg", "1080p"
constexpr int kRepeatedPart = 3;
constexpr int kDrawnOutPart = 4;
constexpr int kNumbersInWords = 2;
constexpr int kDigitsInWords = 4;
constexpr int kLettersInKeys = 4; // more than one character in this many is a letter
// Only a token with few signs is judged chunk by chunk ("uunet!sugar!karl",
// "2.20.14+build.7"); random printable characters are a third signs.
constexpr int kCharactersPerSign = 5;

enum class Kind { letter, digit, separator, other };

struct Character {
    Kind kind;
    int letterIndex; // 1–26 for a–z, -1 for any other letter
    bool upper;
    bool lower;
};

// Marks between the parts of words, names, numbers and lists.
bool isSeparator(char32_t codePoint) {
    return codePoint <= 0xFFFF && UnicodeText::isAmong(QChar(char16_t(codePoint)),
                                                       u"-_./:',\u2019\u2010\u2011\u2013\u2014");
}

Character classify(char32_t codePoint) {
    if (codePoint < 0x80) {
        if (codePoint >= U'a' && codePoint <= U'z')
            return {Kind::letter, int(codePoint - U'a') + 1, false, true};
        if (codePoint >= U'A' && codePoint <= U'Z')
            return {Kind::letter, int(codePoint - U'A') + 1, true, false};
        if (codePoint >= U'0' && codePoint <= U'9')
            return {Kind::digit, -1, false, false};
        return {isSeparator(codePoint) ? Kind::separator : Kind::other, -1, false, false};
    }
    const auto point = static_cast<UChar32>(codePoint);
    if (u_isalpha(point))
        return {Kind::letter, -1, bool(u_isUUppercase(point)), bool(u_isULowercase(point))};
    if (u_isdigit(point))
        return {Kind::digit, -1, false, false};
    if (u_getCombiningClass(point) != 0 || u_hasBinaryProperty(point, UCHAR_EXTENDER))
        return {Kind::letter, -1, false, false}; // part of the letter before it
    return {isSeparator(codePoint) ? Kind::separator : Kind::other, -1, false, false};
}

std::vector<Character> characters(QStringView token) {
    std::vector<Character> result;
    result.reserve(size_t(token.size()));
    UnicodeText::forEachCodePoint(token, [&result](char32_t codePoint) {
        result.push_back(classify(codePoint));
        return true;
    });
    return result;
}

// A run of one kind; letter runs also end where a lower-case letter meets an upper-case one
// ("getName") and before the last capital of a capital run that goes on in lower case
// ("HTTPServer").
struct Part {
    Kind kind;
    size_t begin;
    size_t end;
    size_t size() const { return end - begin; }
};

std::vector<Part> parts(const std::vector<Character>& chars) {
    std::vector<Part> result;
    for (size_t i = 0; i < chars.size(); ++i) {
        const Character& c = chars[i];
        const bool continues = !result.empty() && result.back().kind == c.kind &&
                               c.kind != Kind::separator && c.kind != Kind::other;
        if (continues && c.kind == Kind::letter) {
            const Character& before = chars[i - 1];
            if (before.lower && c.upper) {
                result.push_back({c.kind, i, i + 1});
                continue;
            }
            if (before.upper && c.lower && result.back().size() >= 2 &&
                chars[i - 2].upper) { // "HTTPS|erver" becomes "HTTP|Server"
                --result.back().end;
                result.push_back({c.kind, i - 1, i + 1});
                continue;
            }
        }
        if (continues)
            ++result.back().end;
        else
            result.push_back({c.kind, i, i + 1});
    }
    return result;
}

// Tenths of a bit to spell the letters of `part`, word edges included.
int spellingSurprise(const std::vector<Character>& chars, const Part& part) {
    int cost = 0;
    int previous = 0;
    for (size_t i = part.begin; i < part.end; ++i) {
        const int letter = chars[i].letterIndex;
        cost += previous < 0 || letter < 0 ? kUnknownLetterPair : kLetterPairCost[previous][letter];
        previous = letter;
    }
    return cost + (previous < 0 ? kUnknownLetterPair : kLetterPairCost[previous][0]);
}

int casePatternCost(const std::vector<Character>& chars, const Part& part) {
    bool allLower = true;
    bool allUpper = true;
    bool restLower = true;
    for (size_t i = part.begin; i < part.end; ++i) {
        allLower = allLower && !chars[i].upper;
        allUpper = allUpper && !chars[i].lower;
        if (i > part.begin)
            restLower = restLower && !chars[i].upper;
    }
    if (allLower || part.size() == 1)
        return 0;
    if (allUpper || (chars[part.begin].upper && restLower))
        return kCasePattern;
    return kCasePattern * int(part.size());
}

bool sameLetters(const std::vector<Character>& chars, const Part& a, const Part& b) {
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i) {
        const Character& x = chars[a.begin + i];
        const Character& y = chars[b.begin + i];
        if (x.letterIndex < 0 || x.letterIndex != y.letterIndex)
            return false;
    }
    return true;
}

// Random data does not repeat itself: "bwuck-bwuck-bwuck" is one made-up word, said thrice.
bool repeatsEarlierPart(const std::vector<Character>& chars, const std::vector<Part>& all,
                        size_t index) {
    for (size_t i = 0; i < index; ++i) {
        if (all[i].kind == Kind::letter && sameLetters(chars, all[i], all[index]))
            return true;
    }
    return false;
}

// "AAAARRRRGGGGHHHH", "noooooooo": a cry, drawn out, when it makes most of the token. Random
// letters repeat the one before one time in 26.
bool mostlyDoubled(const std::vector<Character>& chars, const Part& part) {
    size_t doubled = 0;
    for (size_t i = part.begin + 1; i < part.end; ++i) {
        if (chars[i].letterIndex >= 0 && chars[i].letterIndex == chars[i - 1].letterIndex)
            ++doubled;
    }
    return doubled * 2 >= part.size();
}

// A part set off by separators or the token's ends ("do-it-yourself"), not by a change of
// case or a digit as the parts of random data are.
bool betweenSeparators(const std::vector<Part>& all, size_t index) {
    const bool openEdge = index == 0 || all[index - 1].kind == Kind::separator;
    const bool closeEdge = index + 1 == all.size() || all[index + 1].kind == Kind::separator;
    return openEdge && closeEdge;
}

// Whether the letter parts of an identifier-shaped token spell words. It does not when numbers
// are strewn among the letters, when abbreviations outnumber words, when case changes cut the
// letters into bits of one or two, when those bits cost too much to spell, or when the long
// parts do. A part repeated between separators or one cry drawn out reads as words at once.
bool letterPartsReadAsWords(const std::vector<Character>& chars, const std::vector<Part>& all) {
    size_t allLetters = 0;
    size_t wordLetters = 0;
    size_t abbreviationLetters = 0;
    size_t tinyLetters = 0; // in parts of one or two letters cut off by case changes
    int words = 0;
    int longParts = 0;
    int abbreviations = 0;
    int letters = 0;
    int surprise = 0;
    int digitRuns = 0; // "x86_64" has two; random capitals and digits have more
    // Parts cut off by changes of case or digits, where random data falls apart.
    int cutParts = 0;
    size_t cutLetters = 0;
    int cutSurprise = 0;
    for (size_t i = 0; i < all.size(); ++i) {
        const Part& part = all[i];
        // Numbers set off by separators are versions and sizes ("v11.13.19", "x86_64").
        digitRuns += part.kind == Kind::digit && !betweenSeparators(all, i) ? 1 : 0;
        if (part.kind != Kind::letter)
            continue;
        if (part.size() >= size_t(kRepeatedPart) && betweenSeparators(all, i) &&
            repeatsEarlierPart(chars, all, i))
            return true;
        if (part.size() >= size_t(kDrawnOutPart) && part.size() * 2 >= chars.size() &&
            mostlyDoubled(chars, part))
            return true;
        allLetters += part.size();
        if (part.size() <= size_t(kTinyPart) && !betweenSeparators(all, i))
            tinyLetters += part.size();
        const int partSurprise = spellingSurprise(chars, part);
        if (!betweenSeparators(all, i)) {
            ++cutParts;
            cutLetters += part.size();
            cutSurprise += partSurprise;
        }
        if (part.size() >= size_t(kLongPart)) {
            ++words;
            ++longParts;
            wordLetters += part.size();
            letters += int(part.size());
            surprise += partSurprise;
        } else if (betweenSeparators(all, i) ||
                   partSurprise / 10.0 <= kWordSurprise * double(part.size() + 1)) {
            ++words; // "on-your-own", "TYPE_SIZE": short words, not abbreviations
            wordLetters += part.size();
        } else {
            ++abbreviations;
            abbreviationLetters += part.size();
        }
    }
    if (digitRuns > kNumbersInWords || abbreviations > words + kExtraAbbreviations ||
        abbreviationLetters > wordLetters + kExtraAbbreviationLetters ||
        (allLetters >= size_t(kLongPart) && tinyLetters * kTinyShare > allLetters) ||
        (cutLetters >= size_t(kLongPart) &&
         cutSurprise / 10.0 > kPartsSurprise * double(cutLetters + size_t(cutParts))))
        return false;
    if (letters == 0)
        return true;
    return surprise / 10.0 <= kWordSurprise * (letters + longParts) + kPartAllowance * longParts;
}

// Letters then digits in each part, as "utf8String" or "IPv6Address"; a letter part after
// digits must open with a capital.
bool identifierShaped(const std::vector<Character>& chars, const std::vector<Part>& all) {
    if (all.empty() || all.front().kind != Kind::letter)
        return false;
    for (size_t i = 0; i < all.size(); ++i) {
        if (all[i].kind == Kind::other || all[i].kind == Kind::separator)
            return false;
        if (i > 0 && all[i].kind == Kind::letter && all[i - 1].kind == Kind::digit &&
            !chars[all[i].begin].upper)
            return false;
    }
    return true;
}

// One stretch between separators that is plainly no key: short, a number, a number with a
// unit, or an identifier that reads as words.
bool harmlessChunk(const std::vector<Character>& chars, size_t begin, size_t end) {
    if (end - begin <= size_t(kShortChunk))
        return true;
    const std::vector<Character> chunk(chars.begin() + qsizetype(begin),
                                       chars.begin() + qsizetype(end));
    const std::vector<Part> chunkParts = parts(chunk);
    if (chunkParts.size() == 1 && chunkParts.front().kind == Kind::digit)
        return true;
    if (chunkParts.size() == 2 && chunkParts[0].kind == Kind::digit &&
        chunkParts[1].kind == Kind::letter && chunkParts[1].size() <= size_t(kUnitLetters))
        return true;
    if (identifierShaped(chunk, chunkParts))
        return letterPartsReadAsWords(chunk, chunkParts);
    // Words around a number or two: "sha256sum", "mp3player", "libqt6core".
    int digitRuns = 0;
    size_t digits = 0;
    for (const Part& part : chunkParts) {
        if (part.kind == Kind::other)
            return false;
        if (part.kind == Kind::digit) {
            ++digitRuns;
            digits += part.size();
        }
    }
    return digitRuns <= kNumbersInWords && digits <= size_t(kDigitsInWords) &&
           letterPartsReadAsWords(chunk, chunkParts);
}

bool chunksAreHarmless(const std::vector<Character>& chars) {
    const auto cuts = [](const Character& c) {
        return c.kind == Kind::separator || c.kind == Kind::other;
    };
    const auto isSign = [](const Character& c) {
        return c.kind == Kind::other;
    };
    const auto signs = std::count_if(chars.begin(), chars.end(), isSign);
    if (signs * kCharactersPerSign > qsizetype(chars.size()))
        return false;
    // Short bits between signs say nothing ("Kl4j-bE:|wA"): one chunk at least must be a
    // word or a number. Between separators alone they are a list ("II,III,IV,V,VI").
    bool separated = false;
    bool substantial = false;
    size_t begin = 0;
    for (size_t i = 0; i <= chars.size(); ++i) {
        if (i < chars.size() && !cuts(chars[i]))
            continue;
        separated = separated || i < chars.size();
        if (i > begin && !harmlessChunk(chars, begin, i))
            return false;
        substantial = substantial || i - begin > size_t(kShortChunk) ||
                      (i - begin > 1 &&
                       std::all_of(chars.begin() + qsizetype(begin), chars.begin() + qsizetype(i),
                                   [](const Character& c) { return c.kind == Kind::digit; }));
        begin = i + 1;
    }
    return separated && (substantial || signs == 0);
}

bool isHexKey(QStringView token) {
    bool digit = false;
    bool lower = false;
    bool upper = false;
    for (QChar unit : token) {
        const char16_t c = unit.unicode();
        if (c >= u'0' && c <= u'9')
            digit = true;
        else if (c >= u'a' && c <= u'f')
            lower = true;
        else if (c >= u'A' && c <= u'F')
            upper = true;
        else
            return false;
    }
    return digit && (lower != upper);
}

// What password rules ask for: letters, digits and a sign inside ("correct#horse9").
// Only the signs such rules suggest count: "=", "^", "@", "+", commas and brackets make
// assignments, formulas, addresses, versions and lists ("goose_level=-2323", "X^2-Y^2=XY",
// "RWC102@PSUVM", "2.20.14+build.7", "(13,2,'hike')"). A sign in front opens a hashtag
// ("#WorldCup2026").
bool mixesLettersDigitsAndSigns(QStringView token) {
    bool letter = false;
    bool digit = false;
    bool innerSign = false;
    for (qsizetype i = 0; i < token.size(); ++i) {
        const QChar c = token[i];
        letter = letter || c.isLetter();
        digit = digit || (c >= u'0' && c <= u'9');
        innerSign = innerSign || (i > 0 && UnicodeText::isAmong(c, u"!#$%&*?~"));
    }
    return letter && digit && innerSign;
}

// "RWC102@PSUVM", "reader@home": someone at somewhere, written without signs besides the "@".
bool isAddress(const std::vector<Character>& chars, QStringView token) {
    const qsizetype at = token.indexOf(u'@');
    if (at <= 0 || at + 1 == token.size() || token.indexOf(u'@', at + 1) >= 0)
        return false;
    return std::count_if(chars.begin(), chars.end(),
                         [](const Character& c) { return c.kind == Kind::other; }) == 1;
}

double bitsPerCharacter(const std::vector<Character>& chars) {
    if (chars.empty())
        return 0;
    int cost = 0;
    const std::vector<Part> all = parts(chars);
    for (size_t i = 0; i < all.size(); ++i) {
        const Part& part = all[i];
        if (i > 0 && all[i - 1].kind != part.kind)
            cost += kKindChange;
        switch (part.kind) {
        case Kind::letter:
            cost += spellingSurprise(chars, part) + casePatternCost(chars, part);
            break;
        case Kind::digit:
            cost += kDigit * int(part.size());
            break;
        case Kind::separator:
            cost += kSeparator;
            break;
        case Kind::other:
            cost += kOtherSign;
            break;
        }
    }
    return cost / 10.0 / double(chars.size());
}

} // namespace

bool identifierReadsAsWords(QStringView token) {
    const std::vector<Character> chars = characters(token);
    return letterPartsReadAsWords(chars, parts(chars));
}

bool looksRandom(QStringView token) {
    if (isHexKey(token))
        return true;
    const std::vector<Character> chars = characters(token);
    // Rules and ornaments ("==============="), numbers, dates and times
    // ("2021-08-27T04:41:18+01:00") are no keys: keys are mostly letters.
    const auto letters = std::count_if(chars.begin(), chars.end(),
                                       [](const Character& c) { return c.kind == Kind::letter; });
    if (letters * kLettersInKeys <= qsizetype(chars.size()))
        return false;
    if (mixesLettersDigitsAndSigns(token))
        return true;
    if (isAddress(chars, token))
        return false;
    if (chunksAreHarmless(chars))
        return false;
    return bitsPerCharacter(chars) >= kRandomBitsPerCharacter;
}

double bitsPerCharacter(QStringView token) {
    return bitsPerCharacter(characters(token));
}

} // namespace TokenRandomness
