#include "filter/KeyMaterial.h"

#include "base/UnicodeText.h"
#include "filter/TextFilter.h"

#include <QString>
#include <algorithm>

namespace KeyMaterial {
namespace {

constexpr QStringView kKeyBlockMarkers[] = {u"-----BEGIN ", u"-----END ", u"PuTTY-User-Key-File-"};

// Words of a key's name that say its value is a secret. The name is split at "_", "-", "."
// and case changes first, so "author" or "passenger" never match.
constexpr QStringView kSecretWords[] = {
    u"password", u"passwd",        u"pwd",    u"pass",       u"passphrase", u"secret",
    u"secrets",  u"token",         u"auth",   u"bearer",     u"credential", u"credentials",
    u"apikey",   u"authorization", u"cookie", u"privatekey", u"accesskey",  u"secretkey"};
// Names written without separators ("DBPASSWORD", "apikey", "x-apikey").
constexpr QStringView kSecretCompounds[] = {
    u"password",   u"passwd",    u"passphrase",  u"secret",       u"apikey",       u"accesskey",
    u"privatekey", u"authtoken", u"accesstoken", u"refreshtoken", u"sessiontoken", u"credential"};
// Two-word names whose words are harmless alone.
constexpr std::pair<QStringView, QStringView> kSecretPairs[] = {
    {u"api", u"key"},        {u"access", u"key"}, {u"private", u"key"}, {u"signing", u"key"},
    {u"encryption", u"key"}, {u"master", u"key"}, {u"session", u"id"}};
// Words after "Authorization:" that open a credential.
constexpr QStringView kAuthorizationSchemes[] = {u"bearer", u"basic", u"token", u"digest"};

constexpr qsizetype kCardDigitsMin = 13;
constexpr qsizetype kCardDigitsMax = 19;

bool isSpace(QChar c) {
    return UnicodeText::isWhiteSpace(c.unicode());
}

bool isControl(QChar c) {
    return c.unicode() < 0x20 || (c.unicode() >= 0x7F && c.unicode() <= 0x9F);
}

bool isLineEnd(QChar c) {
    return UnicodeText::isLineBreak(c.unicode());
}

bool isKeyCharacter(QChar c) {
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || UnicodeText::isAsciiDigit(c) ||
           c == u'_' || c == u'-' || c == u'.';
}

bool isQuote(QChar c) {
    return c == u'"' || c == u'\'' || c == u'`';
}

// --- Tokens ---------------------------------------------------------------------------------

// Quotes, brackets, emphasis marks ("*word*", "_word_") and a shell variable's "$" around a
// token.
bool isOpening(QChar c) {
    return UnicodeText::isAmong(c, u"([{<\"'`*_$\u201C\u2018\u00AB");
}

bool isClosing(QChar c) {
    return UnicodeText::isAmong(c, u")]}>\"'`*_\u201D\u2019\u00BB.,;:!?\u2026");
}

QStringView stripped(QStringView token) {
    while (!token.isEmpty() && isOpening(token.front()))
        token = token.sliced(1);
    while (!token.isEmpty() && isClosing(token.back()))
        token.chop(1);
    return token;
}

// "<7874@jpl-devvax.JPL.NASA.GOV>" in a signature: an address, whatever its case.
bool isMailAddress(QStringView piece) {
    const qsizetype at = piece.lastIndexOf(u'@');
    if (at <= 0)
        return false;
    const QStringView domain = piece.sliced(at + 1);
    const qsizetype dot = domain.lastIndexOf(u'.');
    return dot > 0 && domain.size() - dot > 2 &&
           std::all_of(domain.begin() + dot + 1, domain.end(),
                       [](QChar c) { return c.isLetter(); });
}

bool isSecretPiece(QStringView piece) {
    piece = stripped(piece);
    // Cheap before exact: both rules need twelve characters, and each takes at least one unit.
    if (piece.size() < 12)
        return false;
    return !isMailAddress(piece) && !TextFilter::looksLikeURLOrPath(piece) &&
           TextFilter::looksLikeSecret(piece);
}

bool isSecretToken(QStringView token) {
    // `NAME=value`: the name and the value each on their own. An address's query is the
    // address's own business: shared links carry random ids ("?v=dQw4w9WgXcQ"); a password or
    // a token in one is caught by name.
    const qsizetype equals = token.indexOf(u'=');
    if (equals < 0 || token.contains(u"://"))
        return isSecretPiece(token);
    return isSecretPiece(token.first(equals)) || isSecretPiece(token.sliced(equals + 1));
}

// --- Assignments ----------------------------------------------------------------------------

QString lowered(QStringView text) {
    QString result = text.toString();
    for (QChar& c : result)
        c = c.toLower();
    return result;
}

QStringList nameWords(QStringView name) {
    QStringList words;
    QString current;
    for (qsizetype i = 0; i < name.size(); ++i) {
        const QChar c = name[i];
        const bool split = c == u'_' || c == u'-' || c == u'.';
        const bool camel = i > 0 && c.isUpper() && name[i - 1].isLower();
        if ((split || camel) && !current.isEmpty()) {
            words.append(current);
            current.clear();
        }
        if (!split)
            current += c.toLower();
    }
    if (!current.isEmpty())
        words.append(current);
    return words;
}

bool namesSecret(QStringView name) {
    const QStringList words = nameWords(name);
    for (qsizetype i = 0; i < words.size(); ++i) {
        if (std::find(std::begin(kSecretWords), std::end(kSecretWords), words[i]) !=
            std::end(kSecretWords))
            return true;
        for (const auto& [first, second] : kSecretPairs) {
            if (i + 1 < words.size() && words[i] == first && words[i + 1] == second)
                return true;
        }
    }
    const QString compact = words.join(QString());
    return std::any_of(std::begin(kSecretCompounds), std::end(kSecretCompounds),
                       [&compact](QStringView compound) { return compact.contains(compound); });
}

bool namesAuthorization(QStringView name) {
    const QStringList words = nameWords(name);
    return words.contains(u"authorization") || words.contains(u"auth");
}

// The key name that ends just before `end` (a separator's position), or an empty view.
QStringView keyBefore(QStringView text, qsizetype end) {
    qsizetype last = end;
    while (last > 0 && UnicodeText::isBlank(text[last - 1]))
        --last;
    const bool quoted = last > 0 && isQuote(text[last - 1]);
    if (quoted)
        --last;
    qsizetype first = last;
    while (first > 0 && isKeyCharacter(text[first - 1]))
        --first;
    if (first == last)
        return {};
    if (quoted && (first == 0 || !isQuote(text[first - 1])))
        return {};
    const qsizetype boundary = quoted ? first - 1 : first;
    if (boundary > 0 && !isSpace(text[boundary - 1]) &&
        !UnicodeText::isAmong(text[boundary - 1], u"{,([;?&\"'`$"))
        return {};
    return text.sliced(first, last - first);
}

struct Value {
    QStringView text;
    bool quoted = false;
};

// The value after a separator that ends at `start`, up to the line's end, its closing quote,
// the quote that opened the whole pair (`-H "X-Api-Key: 1234"`), or the next "&" of an
// address's query.
Value valueAfter(QStringView text, qsizetype start, bool inQuery, QChar pairQuote) {
    qsizetype at = start;
    while (at < text.size() && UnicodeText::isBlank(text[at]))
        ++at;
    if (at < text.size() && isQuote(text[at])) {
        const QChar quote = text[at];
        qsizetype close = at + 1;
        while (close < text.size() && text[close] != quote && !isLineEnd(text[close]))
            ++close;
        return {text.sliced(at + 1, close - at - 1), true};
    }
    qsizetype end = at;
    while (end < text.size() && !isLineEnd(text[end]) && text[end] != pairQuote &&
           !(inQuery && (text[end] == u'&' || text[end] == u'#' || isSpace(text[end]))))
        ++end;
    QStringView value = text.sliced(at, end - at);
    while (!value.isEmpty() &&
           (isSpace(value.back()) || value.back() == u',' || value.back() == u';'))
        value.chop(1);
    return {value, false};
}

bool opensWithAuthorizationScheme(QStringView value) {
    const qsizetype blank = value.indexOf(u' ');
    if (blank <= 0 || blank + 1 >= value.size())
        return false;
    const QString scheme = lowered(value.first(blank));
    return std::find(std::begin(kAuthorizationSchemes), std::end(kAuthorizationSchemes), scheme) !=
           std::end(kAuthorizationSchemes);
}

// Whether the "=", ":" or ":=" at `at` gives a value to a key that names a secret.
bool assignsSecret(QStringView text, qsizetype at) {
    const QChar c = text[at];
    const QChar next = at + 1 < text.size() ? text[at + 1] : QChar();
    const QChar previous = at > 0 ? text[at - 1] : QChar();
    qsizetype length = 1;
    if (c == u'=') {
        // Comparisons and compound operators are code, not settings.
        if (next == u'=' || next == u'>' || UnicodeText::isAmong(previous, u"=!<>+-*/|&^%"))
            return false;
    } else {
        if (next == u'/' || next == u':' || previous == u':')
            return false;
        if (next == u'=')
            length = 2;
    }
    const QStringView key = keyBefore(text, at);
    if (key.size() < 2 || !namesSecret(key))
        return false;
    const qsizetype keyStart = key.data() - text.data();
    const QChar before = keyStart > 0 ? text[keyStart - 1] : QChar();
    const bool inQuery = before == u'?' || before == u'&';
    const bool keyQuoted = at > 0 && isQuote(text[at - 1]);
    const Value value =
        valueAfter(text, at + length, inQuery, isQuote(before) && !keyQuoted ? before : QChar());
    if (value.text.isEmpty())
        return false;
    if (value.quoted || !UnicodeText::containsWhiteSpace(value.text))
        return true;
    // `NAME=a few words` is still a setting; `Name: a few words` is prose.
    const bool settingForm = c == u'=' && !UnicodeText::isBlank(previous) && at + 1 < text.size() &&
                             !UnicodeText::isBlank(text[at + 1]);
    return settingForm || (namesAuthorization(key) && opensWithAuthorizationScheme(value.text));
}

// "my password is Qw3!mark": a password given in words, short as it may be. Only a token that
// is no plain word counts, so "the password is swordfish" in a story stays a story.
// "PIN" is not among them: in a key's name or a sentence it is more often a pin of a chip.
constexpr QStringView kPasswordNouns[] = {u"password", u"passcode", u"passphrase", u"passwd",
                                          u"pwd"};
// "is", "was", "=", ":" or "is:", tested unit by unit: it runs on every token.
bool isLinkingWord(QStringView token) {
    switch (token.size()) {
    case 1:
        return token[0] == u'=' || token[0] == u':';
    case 2:
        return token[0] == u'i' && token[1] == u's';
    case 3:
        return (token[0] == u'w' && token[1] == u'a' && token[2] == u's') ||
               (token[0] == u'i' && token[1] == u's' && token[2] == u':');
    default:
        return false;
    }
}

bool isPlainWord(QStringView token) {
    for (QChar c : token) {
        if (!(c.isLetter() || c == u'-' || c == u'\'' || c == u'\u2019'))
            return false;
    }
    return true;
}

// Calls `visit` with each run between white space (and control characters, which old
// terminal text uses to underline with backspaces and to ring bells).
template <typename Visit> bool anyToken(QStringView text, Visit visit) {
    qsizetype start = 0;
    for (qsizetype i = 0; i <= text.size(); ++i) {
        if (i < text.size() && !isSpace(text[i]) && !isControl(text[i]))
            continue;
        if (i > start && visit(text.sliced(start, i - start)))
            return true;
        start = i + 1;
    }
    return false;
}

bool givesPasswordInWords(QStringView text) {
    QStringView noun;
    QStringView link;
    return anyToken(text, [&](QStringView token) {
        const bool named = !link.isEmpty() &&
                           std::any_of(std::begin(kPasswordNouns), std::end(kPasswordNouns),
                                       [candidate = stripped(noun)](QStringView word) {
                                           return candidate.compare(word, Qt::CaseInsensitive) == 0;
                                       });
        if (named) {
            const QStringView value = stripped(token);
            if (!value.isEmpty() && !isPlainWord(value))
                return true;
        }
        // The linking word is the cheap test that fails on most tokens.
        const bool links = isLinkingWord(token);
        link = links ? token : QStringView();
        noun = links ? noun : token;
        return false;
    });
}

// --- Card numbers ---------------------------------------------------------------------------

bool passesLuhn(const QString& digits) {
    int sum = 0;
    bool doubled = false;
    for (qsizetype i = digits.size() - 1; i >= 0; --i) {
        int digit = digits[i].unicode() - u'0';
        if (doubled) {
            digit *= 2;
            if (digit > 9)
                digit -= 9;
        }
        sum += digit;
        doubled = !doubled;
    }
    return sum % 10 == 0;
}

// Card numbers open with 2 (Mastercard's newer range) to 6; 9 opens ISBNs, 1 and 7–8 phones
// and other long numbers.
bool isCardNumber(const QString& digits) {
    return digits.size() >= kCardDigitsMin && digits.size() <= kCardDigitsMax &&
           digits[0] >= u'2' && digits[0] <= u'6' && passesLuhn(digits);
}

} // namespace

bool holdsKeyBlock(QStringView text) {
    return std::any_of(std::begin(kKeyBlockMarkers), std::end(kKeyBlockMarkers),
                       [text](QStringView marker) { return UnicodeText::holds(text, marker); });
}

bool holdsSecretToken(QStringView text) {
    // Only long runs can be secrets; most of a text is short words.
    return anyToken(text,
                    [](QStringView token) { return token.size() >= 12 && isSecretToken(token); });
}

bool holdsSecretAssignment(QStringView text) {
    for (const QChar separator : {u'=', u':'}) {
        for (qsizetype at = text.indexOf(separator); at >= 0;
             at = text.indexOf(separator, at + 1)) {
            if (assignsSecret(text, at))
                return true;
        }
    }
    return givesPasswordInWords(text);
}

bool holdsAddressWithPassword(QStringView text) {
    for (qsizetype at = text.indexOf(u"://"); at >= 0; at = text.indexOf(u"://", at + 3)) {
        const qsizetype start = at + 3;
        qsizetype end = start;
        while (end < text.size() && !isSpace(text[end]) &&
               !UnicodeText::isAmong(text[end], u"/?#\"'<>"))
            ++end;
        const QStringView authority = text.sliced(start, end - start);
        const qsizetype atSign = authority.lastIndexOf(u'@');
        if (atSign <= 0)
            continue;
        const qsizetype colon = authority.first(atSign).indexOf(u':');
        if (colon >= 0 && colon + 1 < atSign)
            return true;
    }
    return false;
}

bool holdsCardNumber(QStringView text) {
    qsizetype at = 0;
    while (at < text.size()) {
        const bool startsNumber =
            UnicodeText::isAsciiDigit(text[at]) && (at == 0 || !(text[at - 1].isLetterOrNumber()));
        if (!startsNumber) {
            ++at;
            continue;
        }
        // Digits in groups, one blank or dash between groups; every group end may be the
        // number's end ("4111 1111 1111 1111 12/27").
        QString digits;
        qsizetype end = at;
        while (end < text.size()) {
            if (UnicodeText::isAsciiDigit(text[end])) {
                digits += text[end++];
                continue;
            }
            const bool groupEnd = end + 1 < text.size() &&
                                  UnicodeText::isAsciiDigit(text[end + 1]) &&
                                  (text[end] == u' ' || text[end] == u'-');
            if (!groupEnd)
                break;
            if (isCardNumber(digits))
                return true;
            ++end;
        }
        const bool standsAlone = end == text.size() || !text[end].isLetterOrNumber();
        if (standsAlone && isCardNumber(digits))
            return true;
        at = end + 1;
    }
    return false;
}

bool foundIn(QStringView text) {
    return holdsKeyBlock(text) || holdsAddressWithPassword(text) || holdsCardNumber(text) ||
           holdsSecretAssignment(text) || holdsSecretToken(text);
}

} // namespace KeyMaterial
