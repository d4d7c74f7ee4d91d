#include "dictionary/formats/MarkupText.h"

#include <QList>
#include <algorithm>
#include <array>
#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

namespace MarkupText {
namespace {

struct NamedEntity {
    QStringView name;
    char16_t character;
};

// The entities dictionary files use in practice; the rest are left as written.
constexpr std::array<NamedEntity, 24> kEntities{{
    {u"amp", u'&'},   {u"lt", u'<'},    {u"gt", u'>'},    {u"quot", u'"'},   {u"apos", u'\''},
    {u"nbsp", u' '},  {u"mdash", u'—'}, {u"ndash", u'–'}, {u"hellip", u'…'}, {u"middot", u'·'},
    {u"bull", u'•'},  {u"copy", u'©'},  {u"reg", u'®'},   {u"times", u'×'},  {u"divide", u'÷'},
    {u"laquo", u'«'}, {u"raquo", u'»'}, {u"lsquo", u'‘'}, {u"rsquo", u'’'},  {u"ldquo", u'“'},
    {u"rdquo", u'”'}, {u"deg", u'°'},   {u"sect", u'§'},  {u"para", u'¶'},
}};

// Tags that start and end a line of their own in HTML.
constexpr std::array<QStringView, 22> kBlockTags{
    u"p",     u"div",        u"li",  u"ul",      u"ol",      u"dl",    u"dt", u"dd",
    u"tr",    u"h1",         u"h2",  u"h3",      u"h4",      u"h5",    u"h6", u"hr",
    u"table", u"blockquote", u"pre", u"section", u"article", u"header"};

bool isAsciiSpace(QChar c) {
    return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r' || c == u'\f';
}

// The character an entity at `at` (just after '&') stands for, and how far it reaches.
std::optional<std::pair<QString, qsizetype>> entity(QStringView text, qsizetype at) {
    const qsizetype semicolon = text.indexOf(u';', at);
    if (semicolon < 0 || semicolon - at > 10 || semicolon == at)
        return std::nullopt;
    const QStringView name = text.mid(at, semicolon - at);
    const qsizetype next = semicolon + 1;
    if (name.startsWith(u'#')) {
        bool ok = false;
        const bool hex = name.size() > 1 && (name[1] == u'x' || name[1] == u'X');
        const uint code = name.mid(hex ? 2 : 1).toUInt(&ok, hex ? 16 : 10);
        if (!ok || code == 0 || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
            return std::nullopt;
        const char32_t point = code;
        return std::pair{QString::fromUcs4(&point, 1), next};
    }
    for (const NamedEntity& known : kEntities)
        if (known.name == name)
            return std::pair{QString(QChar(known.character)), next};
    return std::nullopt;
}

void breakLine(QString& out) {
    if (!out.isEmpty() && !out.endsWith(u'\n'))
        out += u'\n';
}

// Trailing spaces off every line; no more than one empty line in a row.
QString tidied(const QString& text, bool dropLeadingSpaces) {
    QString out;
    out.reserve(text.size());
    int newlines = 0;
    for (QStringView line : QStringView(text).split(u'\n')) {
        while (!line.isEmpty() && isAsciiSpace(line.back()))
            line.chop(1);
        if (dropLeadingSpaces)
            while (!line.isEmpty() && isAsciiSpace(line.front()))
                line = line.mid(1);
        if (line.isEmpty()) {
            ++newlines;
            continue;
        }
        if (!out.isEmpty())
            out += newlines > 1 ? u"\n\n"_s : u"\n"_s;
        out += line;
        newlines = 1;
    }
    return out;
}

} // namespace

QString toPlainText(QStringView markup, Flavour flavour) {
    const bool html = flavour == Flavour::html;
    QString out;
    out.reserve(markup.size());
    qsizetype at = 0;
    while (at < markup.size()) {
        const QChar c = markup[at];
        if (c == u'&') {
            if (const auto decoded = entity(markup, at + 1)) {
                out += decoded->first;
                at = decoded->second;
            } else {
                out += c;
                ++at;
            }
            continue;
        }
        if (html && isAsciiSpace(c)) {
            if (!out.isEmpty() && !out.endsWith(u' ') && !out.endsWith(u'\n'))
                out += u' ';
            ++at;
            continue;
        }
        const bool opensTag = c == u'<' && at + 1 < markup.size() &&
                              (markup[at + 1].isLetter() || markup[at + 1] == u'/' ||
                               markup[at + 1] == u'!' || markup[at + 1] == u'?');
        if (!opensTag) {
            out += c;
            ++at;
            continue;
        }
        if (markup.mid(at).startsWith(u"<!--")) {
            const qsizetype close = markup.indexOf(u"-->", at + 4);
            at = close < 0 ? markup.size() : close + 3;
            continue;
        }
        if (markup.mid(at).startsWith(u"<![CDATA[")) {
            const qsizetype close = markup.indexOf(u"]]>", at + 9);
            const qsizetype end = close < 0 ? markup.size() : close;
            out += markup.mid(at + 9, end - at - 9);
            at = close < 0 ? markup.size() : close + 3;
            continue;
        }

        // A tag: find its end, minding quoted attribute values.
        qsizetype end = at + 1;
        QChar quote;
        while (end < markup.size() && (markup[end] != u'>' || !quote.isNull())) {
            if (quote.isNull() && (markup[end] == u'"' || markup[end] == u'\''))
                quote = markup[end];
            else if (markup[end] == quote)
                quote = QChar();
            ++end;
        }
        const QStringView inside = markup.mid(at + 1, std::max<qsizetype>(0, end - at - 1));
        at = end + 1;
        const bool closing = inside.startsWith(u'/');
        const QStringView afterSlash = inside.mid(closing ? 1 : 0);
        qsizetype nameLength = 0;
        while (nameLength < afterSlash.size() &&
               (afterSlash[nameLength].isLetterOrNumber() || afterSlash[nameLength] == u'-'))
            ++nameLength;
        const QString name = afterSlash.left(nameLength).toString().toLower();

        if (name == u"br"_s) {
            out += u'\n';
        } else if (flavour == Flavour::xdxf && name == u"tr"_s) {
            out += closing ? u']' : u'[';
        } else if (html && (name == u"script"_s || name == u"style"_s) && !closing) {
            const qsizetype close = markup.indexOf(u"</"_s + name, at, Qt::CaseInsensitive);
            const qsizetype closeEnd = close < 0 ? -1 : markup.indexOf(u'>', close);
            at = closeEnd < 0 ? markup.size() : closeEnd + 1;
        } else if (html && std::find(kBlockTags.begin(), kBlockTags.end(), QStringView(name)) !=
                               kBlockTags.end()) {
            breakLine(out);
        } else if (flavour == Flavour::xdxf && name == u"blockquote"_s) {
            breakLine(out);
        }
    }
    return tidied(out, html);
}

} // namespace MarkupText
