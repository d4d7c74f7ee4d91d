#include "dictionary/DefinitionText.h"

#include "base/UnicodeText.h"
#include "dictionary/BundledEntryBuilder.h"

#include <QHash>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace DefinitionText {
namespace {

constexpr qsizetype kTabWidth = 8;

bool isLineEnd(QChar c) {
    const char16_t unit = c.unicode();
    return unit == u'\n' || unit == u'\r' || unit == 0x0B || unit == 0x0C || unit == 0x85 ||
           unit == 0x2028 || unit == 0x2029;
}

Line lineFrom(QStringView raw) {
    Line line;
    qsizetype i = 0;
    for (; i < raw.size(); ++i) {
        if (raw[i] == u'\t')
            line.indent = (line.indent / kTabWidth + 1) * kTabWidth;
        else if (raw[i] == u' ' || raw[i] == QChar(0x3000) || raw[i] == QChar(0xA0))
            ++line.indent;
        else
            break;
    }
    qsizetype end = raw.size();
    while (end > i && UnicodeText::isWhiteSpace(raw[end - 1].unicode()))
        --end;
    line.text = raw.sliced(i, end - i).toString();
    if (line.text.isEmpty())
        line.indent = 0;
    return line;
}

int superscriptDigit(QChar c) {
    switch (c.unicode()) {
    case 0x2070:
        return 0;
    case 0x00B9:
        return 1;
    case 0x00B2:
        return 2;
    case 0x00B3:
        return 3;
    default:
        return c.unicode() >= 0x2074 && c.unicode() <= 0x2079 ? c.unicode() - 0x2070 : -1;
    }
}

} // namespace

QList<Line> lines(QStringView text) {
    QList<Line> found;
    qsizetype start = 0;
    for (qsizetype i = 0; i <= text.size(); ++i) {
        if (i < text.size() && !isLineEnd(text[i]))
            continue;
        found.append(lineFrom(text.sliced(start, i - start)));
        // CR LF ends one line, not two.
        if (i + 1 < text.size() && text[i] == u'\r' && text[i + 1] == u'\n')
            ++i;
        start = i + 1;
    }
    return dedented(std::move(found));
}

QList<Line> dedented(QList<Line> lines) {
    while (!lines.isEmpty() && lines.last().isBlank())
        lines.removeLast();
    while (!lines.isEmpty() && lines.first().isBlank())
        lines.removeFirst();
    qsizetype common = -1;
    for (const Line& line : lines) {
        if (!line.isBlank())
            common = common < 0 ? line.indent : std::min(common, line.indent);
    }
    for (Line& line : lines) {
        if (!line.isBlank())
            line.indent -= common;
    }
    return lines;
}

QString collapsed(QStringView text) {
    QString result;
    result.reserve(text.size());
    bool pendingSpace = false;
    for (QChar c : text) {
        if (UnicodeText::isWhiteSpace(c.unicode())) {
            pendingSpace = !result.isEmpty();
            continue;
        }
        if (pendingSpace)
            result += u' ';
        pendingSpace = false;
        result += c;
    }
    return result;
}

std::optional<QString> partOfSpeech(QStringView abbreviation) {
    // Names the bundled table lacks but English–English dictionaries use.
    static const QHash<QString, QString> extra{
        {u"det"_s, u"限定词"_s},
        {u"phr"_s, u"短语"_s},
        {u"npl"_s, u"复数名词"_s},
    };
    QString key;
    for (QChar c : abbreviation) {
        if (c != u'.' && !UnicodeText::isWhiteSpace(c.unicode()))
            key += c;
    }
    if (const auto known = BundledEntryBuilder::partOfSpeechMap().constFind(key);
        known != BundledEntryBuilder::partOfSpeechMap().constEnd())
        return *known;
    if (const auto known = extra.constFind(key); known != extra.constEnd())
        return *known;
    return std::nullopt;
}

std::optional<QString> phonetic(QStringView text) {
    static const IcuRegex transcription(u"^\\*?\\s*(?:\\[([^\\[\\]]+)\\]|/([^/]+)/)$");
    const auto match = transcription.find(text);
    if (!match)
        return std::nullopt;
    QStringView inner = group(*match, text, 1);
    if (inner.isEmpty())
        inner = group(*match, text, 2);
    // A bracketed Chinese word is a subject label such as [医], not a pronunciation.
    if (UnicodeText::containsHan(inner))
        return std::nullopt;
    return BundledEntryBuilder::normalizePhonetic(inner.toString());
}

Headword headword(QStringView text) {
    qsizetype end = text.size();
    int index = 0;
    int scale = 1;
    // Three digits at most: more is not a homograph number.
    while (end > 0 && scale <= 100 && superscriptDigit(text[end - 1]) >= 0) {
        index += superscriptDigit(text[end - 1]) * scale;
        scale *= 10;
        --end;
    }
    if (end == text.size() || end == 0 || index == 0)
        return {collapsed(text), std::nullopt};
    return {collapsed(text.first(end)), index};
}

QStringView group(const IcuRegex::Match& match, QStringView text, size_t number) {
    if (number == 0 || number > match.groups.size())
        return {};
    const auto [start, end] = match.groups[number - 1];
    if (start < 0 || end < start)
        return {};
    return text.sliced(start, end - start);
}

} // namespace DefinitionText
