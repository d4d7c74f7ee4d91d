#include "dictionary/WebsterDefinitionParser.h"

#include "base/UnicodeText.h"

#include <QHash>

using namespace Qt::StringLiterals;
using DefinitionText::Line;

namespace WebsterDefinitionParser {
namespace {

// Quotations sit far to the right of the senses they illustrate.
constexpr qsizetype kQuotationIndent = 8;

const IcuRegex& entryStart() {
    static const IcuRegex pattern(u"^[^\\s\\\\{\\[][^\\\\]*\\\\[^\\\\]+\\\\");
    return pattern;
}

const IcuRegex& numberedSense() {
    static const IcuRegex pattern(u"^\\d{1,2}\\.\\s+(.*)$");
    return pattern;
}

const IcuRegex& letteredSubsense() {
    static const IcuRegex pattern(u"^\\([a-z]\\)\\s+(.*)$");
    return pattern;
}

const IcuRegex& partOfSpeechPrefix() {
    static const IcuRegex pattern(u"^((?:[a-z]{1,5}\\.\\s*){1,3})");
    return pattern;
}

QChar combiningMark(QChar sign, bool suffix) {
    if (suffix)
        return sign == u'^' ? QChar(0x0306) : QChar(); // "[a^]": the short vowel's breve
    switch (sign.unicode()) {
    case u'"':
        return QChar(0x0308);
    case u'\'':
        return QChar(0x0301);
    case u'`':
        return QChar(0x0300);
    case u'^':
        return QChar(0x0302);
    case u'~':
        return QChar(0x0303);
    case u'=':
        return QChar(0x0304);
    case u'.':
        return QChar(0x0307);
    case u',':
        return QChar(0x0327);
    case u'*':
        return QChar(0x030A);
    default:
        return QChar(); // "[-o]" and the like: the letter alone reads well enough
    }
}

std::optional<QString> namedCharacter(QStringView name) {
    static const QHash<QString, QString> names{
        {u"ae"_s, u"æ"_s},     {u"AE"_s, u"Æ"_s},     {u"oe"_s, u"œ"_s},     {u"OE"_s, u"Œ"_s},
        {u"imac"_s, u"ī"_s},   {u"aum"_s, u"ä"_s},    {u"add"_s, u"ạ"_s},    {u"udd"_s, u"ụ"_s},
        {u"asl"_s, u"ȧ"_s},    {u"eth"_s, u"ð"_s},    {u"thorn"_s, u"þ"_s},  {u"ng"_s, u"ŋ"_s},
        {u"deg"_s, u"°"_s},    {u"root"_s, u"√"_s},   {u"sect"_s, u"§"_s},   {u"yogh"_s, u"ȝ"_s},
        {u"dsdot"_s, u"ḍ"_s},  {u"pounds"_s, u"£"_s}, {u"prime"_s, u"′"_s},  {u"bprime"_s, u"″"_s},
        {u"alpha"_s, u"α"_s},  {u"beta"_s, u"β"_s},   {u"phi"_s, u"φ"_s},    {u"pi"_s, u"π"_s},
        {u"theta"_s, u"θ"_s},  {u"Delta"_s, u"Δ"_s},  {u"flat"_s, u"♭"_s},   {u"sharp"_s, u"♯"_s},
        {u"frac12"_s, u"½"_s}, {u"frac14"_s, u"¼"_s}, {u"frac34"_s, u"¾"_s}, {u"times"_s, u"×"_s},
        {u"mdash"_s, u"—"_s},  {u"ndash"_s, u"–"_s},  {u"cent"_s, u"¢"_s},   {u"middot"_s, u"·"_s},
        {u"=oo"_s, u"o͞o"_s},   {u"oo^"_s, u"o͝o"_s},   {u"th"_s, u"th"_s},
    };
    const auto found = names.constFind(name.toString());
    return found == names.constEnd() ? std::nullopt : std::optional(*found);
}

// One "[…]" escape, or nothing when the brackets hold ordinary text such as "[Obs.]".
std::optional<QString> decodedEscape(QStringView inside) {
    if (auto named = namedCharacter(inside))
        return named;
    auto isLetter = [](QChar c) {
        return UnicodeText::isAsciiLetter(char32_t(c.unicode()));
    };
    if (inside.size() == 2 && isLetter(inside[0]) && !isLetter(inside[1])) {
        if (const QChar mark = combiningMark(inside[1], true); !mark.isNull())
            return QString(inside[0]) + mark;
    }
    if (inside.size() == 2 && !isLetter(inside[0]) && isLetter(inside[1])) {
        const QChar mark = combiningMark(inside[0], false);
        if (!QStringView(u"\"'`^~=.,*-").contains(inside[0]))
            return std::nullopt;
        return mark.isNull() ? QString(inside[1]) : QString(inside[1]) + mark;
    }
    return std::nullopt;
}

// Skips one balanced block ("[…]" or "(…)") that may run over several lines; returns false
// when it never closes, so the caller keeps the text.
bool skipBalanced(const QList<Line>& lines, qsizetype& lineIndex, qsizetype& position) {
    const QChar open = lines[lineIndex].text[position];
    const QChar close = open == u'(' ? u')' : u']';
    int depth = 0;
    for (qsizetype i = lineIndex; i < lines.size(); ++i) {
        const QString& text = lines[i].text;
        for (qsizetype p = i == lineIndex ? position : 0; p < text.size(); ++p) {
            if (text[p] == open) {
                ++depth;
            } else if (text[p] == close && --depth == 0) {
                lineIndex = i;
                position = p + 1;
                return true;
            }
        }
    }
    return false;
}

struct Header {
    QStringList spellings;
    std::optional<QString> partOfSpeech;
    qsizetype bodyLine = 1;     // where the senses begin
    qsizetype bodyPosition = 0; // and where on that line
};

// Moves past spaces and commas; at the end of a line, on to the next one when it goes on with
// `open` (an etymology or pronunciation carried over).
void skipSeparators(const QList<Line>& lines, qsizetype& lineIndex, qsizetype& position,
                    QChar open) {
    const QString* text = &lines[lineIndex].text;
    while (position < text->size() && (text->at(position) == u' ' || text->at(position) == u','))
        ++position;
    if (position >= text->size() && lineIndex + 1 < lines.size() &&
        lines[lineIndex + 1].text.startsWith(open)) {
        ++lineIndex;
        position = 0;
    }
}

// Skips every block opened by `open` at the reading position.
void skipBlocks(const QList<Line>& lines, qsizetype& lineIndex, qsizetype& position, QChar open) {
    for (;;) {
        skipSeparators(lines, lineIndex, position, open);
        const QString& text = lines[lineIndex].text;
        if (position >= text.size() || text[position] != open)
            return;
        qsizetype endLine = lineIndex;
        qsizetype endPosition = position;
        if (!skipBalanced(lines, endLine, endPosition))
            return;
        lineIndex = endLine;
        position = endPosition;
    }
}

Header readHeader(const QList<Line>& lines) {
    Header header;
    const QString& text = lines.first().text;
    qsizetype lineIndex = 0;
    qsizetype position = 0;
    // 'Banc \Banc\, Bancus \Ban"cus\, Bank \Bank\, n.': every spelling before its syllables,
    // each perhaps followed by its respelled pronunciation in parentheses.
    while (lineIndex == 0) {
        const qsizetype open = text.indexOf(u'\\', position);
        const qsizetype close = open < 0 ? -1 : text.indexOf(u'\\', open + 1);
        if (close < 0)
            break;
        QString spelling = DefinitionText::collapsed(text.sliced(position, open - position));
        spelling.remove(u'{');
        spelling.remove(u'}');
        if (spelling.isEmpty() || spelling.contains(u'[') || spelling.contains(u'('))
            break;
        header.spellings.append(spelling);
        position = close + 1;
        skipBlocks(lines, lineIndex, position, u'(');
    }

    const QStringView rest = QStringView(lines[lineIndex].text).sliced(position);
    if (const auto match = partOfSpeechPrefix().find(rest)) {
        const QString abbreviation = DefinitionText::collapsed(rest.first(match->end));
        header.partOfSpeech = DefinitionText::partOfSpeech(abbreviation).value_or(abbreviation);
        position += match->end;
    }
    // The etymology and inflections in brackets, possibly over several lines.
    skipBlocks(lines, lineIndex, position, u'[');
    header.bodyLine = lineIndex;
    header.bodyPosition = position;
    return header;
}

// A sense without its quotations and their authors: 'The fluid … seas, etc. "We will drink
// water." --Shak.' keeps only the definition.
QString definitionOnly(QString text) {
    static const IcuRegex quotation(u"[.;:]\\s+\"");
    static const IcuRegex attribution(u"\\s--(?=[A-Z])");
    if (const auto match = quotation.find(text))
        text.truncate(match->start + 1);
    if (const auto match = attribution.find(text))
        text.truncate(match->start);
    text.remove(u'{'); // cross-reference braces
    text.remove(u'}');
    return DefinitionText::collapsed(text);
}

bool isSourceMark(const QString& text) {
    return text.startsWith(u'[') && text.endsWith(u']') && text.indexOf(u']') == text.size() - 1;
}

} // namespace

bool isEntryStart(const Line& line) {
    return line.indent == 0 && entryStart().matches(line.text);
}

QString decodeMarkup(QStringView text) {
    QString decoded;
    decoded.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c == u'[') {
            const qsizetype close = text.indexOf(u']', i + 1);
            if (close > i && close - i <= 8) {
                if (const auto escape = decodedEscape(text.sliced(i + 1, close - i - 1))) {
                    decoded += *escape;
                    i = close;
                    continue;
                }
            }
        }
        decoded += c;
    }
    return decoded.normalized(QString::NormalizationForm_C);
}

std::optional<DictionaryEntry> parseEntry(QList<Line> lines, const QString& fallbackHeadword) {
    if (lines.isEmpty())
        return std::nullopt;
    for (Line& line : lines)
        line.text = decodeMarkup(line.text);
    const Header header = readHeader(lines);

    DictionaryEntry entry;
    entry.headword = header.spellings.value(0, fallbackHeadword);
    for (const QString& spelling : header.spellings) {
        if (UnicodeText::lowercased(spelling) == UnicodeText::lowercased(fallbackHeadword))
            entry.headword = spelling;
    }

    // What follows the header on its own line is the start of the body.
    QList<Line> body;
    if (header.bodyLine < lines.size()) {
        const QString& opening = lines[header.bodyLine].text;
        if (header.bodyPosition < opening.size())
            body.append({opening.sliced(header.bodyPosition).trimmed(), 3});
        body.append(lines.mid(header.bodyLine + 1));
    }

    DictionaryEntry::Section section{std::nullopt, header.partOfSpeech, {}, {}};
    // Which item a continuation line extends: always the one added last.
    enum class Extends { nothing, sense, subsense } extends = Extends::nothing;
    bool skippingParagraph = false;
    bool paragraphStart = true;
    QStringList raw;
    for (const Line& line : body) {
        if (line.isBlank()) {
            paragraphStart = true;
            continue;
        }
        if (isSourceMark(line.text))
            continue;
        raw.append(line.text);
        if (paragraphStart) {
            paragraphStart = false;
            // Usage notes, quotations and phrases would bury the senses in a small panel.
            skippingParagraph = line.text.startsWith(u"Note:"_s) || line.text.startsWith(u'{') ||
                                line.indent >= kQuotationIndent;
            extends = Extends::nothing;
        }
        if (skippingParagraph)
            continue;
        if (const auto sense = numberedSense().find(line.text)) {
            section.senses.append(DefinitionText::group(*sense, line.text, 1).toString());
            extends = Extends::sense;
        } else if (const auto subsense = letteredSubsense().find(line.text)) {
            if (section.senses.isEmpty())
                section.senses.append(QString());
            while (section.subsenses.size() < section.senses.size())
                section.subsenses.append(QStringList());
            section.subsenses.last().append(
                DefinitionText::group(*subsense, line.text, 1).toString());
            extends = Extends::subsense;
        } else if (extends == Extends::sense) {
            section.senses.last() += u' ' + line.text;
        } else if (extends == Extends::subsense) {
            section.subsenses.last().last() += u' ' + line.text;
        } else {
            section.senses.append(line.text);
            extends = Extends::sense;
        }
    }

    for (QString& sense : section.senses)
        sense = definitionOnly(sense);
    for (QStringList& list : section.subsenses) {
        for (QString& subsense : list)
            subsense = definitionOnly(subsense);
        list.removeAll(QString());
    }
    // A field label standing before the numbered senses ("(Aëronautics)") heads them all.
    static const IcuRegex fieldLabel(u"^\\(([^()]+)\\)$");
    if (section.senses.size() > 1 && section.subsenses.isEmpty()) {
        if (const auto match = fieldLabel.find(section.senses.first())) {
            section.label = DefinitionText::group(*match, section.senses.first(), 1).toString();
            section.senses.removeFirst();
        }
    }
    // A sense made only of its sub-senses ("5. (Mining)" with "(a) …") keeps its label.
    for (qsizetype i = 0; i < section.senses.size(); ++i) {
        if (section.senses[i].isEmpty())
            section.senses[i] = u"—"_s;
    }
    if (!section.senses.isEmpty())
        entry.sections.append(std::move(section));
    else if (!raw.isEmpty())
        entry.rawFallback = DefinitionText::collapsed(raw.join(u' '));
    if (entry.sections.isEmpty() && !entry.rawFallback)
        return std::nullopt;
    return entry;
}

} // namespace WebsterDefinitionParser
