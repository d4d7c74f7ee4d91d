#include "dictionary/BundledEntryBuilder.h"

#include "base/IcuRegex.h"
#include "base/UnicodeText.h"

using namespace Qt::StringLiterals;

namespace BundledEntryBuilder {
namespace {

// Every way the data may end a line: LF, VT, FF, CR (so CR LF too), NEL, LS, PS.
bool isNewline(QChar c) {
    const char16_t unit = c.unicode();
    return (unit >= 0x0A && unit <= 0x0D) || unit == 0x85 || unit == 0x2028 || unit == 0x2029;
}

QList<QStringView> lines(QStringView text) {
    QList<QStringView> found;
    qsizetype start = 0;
    for (qsizetype i = 0; i <= text.size(); ++i) {
        if (i == text.size() || isNewline(text[i])) {
            if (i > start)
                found.append(text.sliced(start, i - start));
            start = i + 1;
        }
    }
    return found;
}

QString trimmedOf(QStringView text, QStringView extra) {
    auto strip = [extra](QChar c) {
        return extra.contains(c) || UnicodeText::isWhiteSpace(c.unicode());
    };
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && strip(text[begin]))
        ++begin;
    while (end > begin && strip(text[end - 1]))
        --end;
    return text.sliced(begin, end - begin).toString();
}

const IcuRegex& abbreviationPrefix() {
    static const IcuRegex pattern(u"^([a-z]{1,6})\\.\\s*");
    return pattern;
}

const IcuRegex& bracketedTagPrefix() {
    static const IcuRegex pattern(u"^\\[([^\\]]{1,6})\\]\\s*");
    return pattern;
}

} // namespace

const QHash<QString, QString>& partOfSpeechMap() {
    static const QHash<QString, QString> map{
        {u"n"_s, u"名词"_s},        {u"v"_s, u"动词"_s},     {u"vt"_s, u"及物动词"_s},
        {u"vi"_s, u"不及物动词"_s}, {u"a"_s, u"形容词"_s},   {u"adj"_s, u"形容词"_s},
        {u"ad"_s, u"副词"_s},       {u"adv"_s, u"副词"_s},   {u"prep"_s, u"介词"_s},
        {u"u"_s, u"不可数名词"_s},  {u"c"_s, u"可数名词"_s}, {u"conj"_s, u"连词"_s},
        {u"pron"_s, u"代词"_s},     {u"int"_s, u"感叹词"_s}, {u"interj"_s, u"感叹词"_s},
        {u"num"_s, u"数词"_s},      {u"art"_s, u"冠词"_s},   {u"aux"_s, u"助动词"_s},
        {u"abbr"_s, u"缩写"_s},     {u"pref"_s, u"前缀"_s},  {u"suf"_s, u"后缀"_s},
        {u"pl"_s, u"复数"_s},
    };
    return map;
}

QString localizedTag(const QString& tag) {
    // "网络" maps to itself: listed so the table names every tag the data is known to use.
    static const QHash<QString, QString> tags{
        {u"计"_s, u"计算机"_s}, {u"医"_s, u"医学"_s}, {u"法"_s, u"法律"_s},
        {u"化"_s, u"化学"_s},   {u"经"_s, u"经济"_s}, {u"机"_s, u"机械"_s},
        {u"电"_s, u"电学"_s},   {u"建"_s, u"建筑"_s}, {u"网络"_s, u"网络"_s},
    };
    return tags.value(tag, tag);
}

Row rowFromColumns(const QString& asked, std::optional<QString> word,
                   std::optional<QString> phonetic, std::optional<QString> translation,
                   std::optional<QString> pos) {
    // An empty column says no more than a NULL one.
    auto present = [](std::optional<QString> text) {
        return text && !text->isEmpty() ? std::move(text) : std::nullopt;
    };
    return Row{present(std::move(word)).value_or(asked), present(std::move(phonetic)),
               present(std::move(translation)).value_or(QString()), present(std::move(pos))};
}

PartOfSpeechSplit splitPartOfSpeech(QStringView line) {
    if (const auto match = abbreviationPrefix().find(line)) {
        // Group 1 is the abbreviation without its full stop and the white space after it.
        const auto [start, end] = match->groups.front();
        QString tag = line.sliced(start, end - start).toString();
        const auto known = partOfSpeechMap().constFind(tag);
        if (known != partOfSpeechMap().constEnd())
            tag = known.value();
        return {tag, line.sliced(match->end).toString()};
    }
    if (const auto match = bracketedTagPrefix().find(line)) {
        const auto [start, end] = match->groups.front();
        const QString tag = trimmedOf(line.sliced(start, end - start), u"[]");
        return {localizedTag(tag), line.sliced(match->end).toString()};
    }
    return {std::nullopt, line.toString()};
}

QStringList splitSenses(QStringView text) {
    QStringList senses;
    qsizetype start = 0;
    for (qsizetype i = 0; i <= text.size(); ++i) {
        if (i < text.size() && !QStringView(u",，;；").contains(text[i]))
            continue;
        const QStringView piece = UnicodeText::trimmedOfBlanks(text.sliced(start, i - start));
        if (!piece.isEmpty())
            senses.append(piece.toString());
        start = i + 1;
    }
    return senses;
}

std::optional<QString> normalizePhonetic(const std::optional<QString>& phonetic) {
    if (!phonetic)
        return std::nullopt;
    QString text = UnicodeText::trimmed(*phonetic);
    if (text.isEmpty())
        return std::nullopt;
    // The data writes IPA with look-alike ASCII and Cyrillic characters. The last step
    // goes the other way on purpose: the IPA script g is shown as a plain g.
    text.replace(QChar(0x04D9), QChar(0x0259));
    text.replace(u'\'', QChar(0x02C8));
    text.replace(u',', QChar(0x02CC));
    text.replace(u':', QChar(0x02D0));
    text.replace(QChar(0x0261), u'g');
    return u'/' + text + u'/';
}

DictionaryEntry entry(const Row& row, const std::optional<QString>& viaForm) {
    DictionaryEntry made;
    made.headword = row.word;
    made.phonetic = normalizePhonetic(row.phonetic);

    for (const QStringView rawLine : lines(row.translation)) {
        const QStringView line = UnicodeText::trimmedOfBlanks(rawLine);
        if (line.isEmpty())
            continue;
        const PartOfSpeechSplit split = splitPartOfSpeech(line);
        QStringList senses = splitSenses(split.rest);
        if (senses.isEmpty())
            continue; // a bare "n." says nothing
        made.sections.append(
            DictionaryEntry::Section{std::nullopt, split.tag, std::move(senses), {}});
    }

    if (viaForm && !made.sections.isEmpty()) {
        DictionaryEntry::Section& first = made.sections.first();
        first.senses.prepend(*viaForm + u" 的变化形式"_s);
        first.subsenses.clear();
    }
    if (made.sections.isEmpty())
        made.rawFallback = row.translation;
    return made;
}

} // namespace BundledEntryBuilder
