#include "cli/ResultRendering.h"

#include "base/UnicodeText.h"
#include "cli/CommandLine.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

using namespace Qt::StringLiterals;

namespace ResultRendering {
namespace {

QJsonValue optionalText(const std::optional<QString>& text) {
    return text ? QJsonValue(*text) : QJsonValue(QJsonValue::Null);
}

QJsonValue optionalNumber(const std::optional<int>& number) {
    return number ? QJsonValue(*number) : QJsonValue(QJsonValue::Null);
}

QJsonArray stringArray(const QStringList& strings) {
    return QJsonArray::fromStringList(strings);
}

QJsonObject sectionJson(const DictionaryEntry::Section& section) {
    QJsonArray subsenses;
    for (const QStringList& list : section.subsenses)
        subsenses.append(stringArray(list));
    return {{u"label"_s, optionalText(section.label)},
            {u"partOfSpeech"_s, optionalText(section.partOfSpeech)},
            {u"senses"_s, stringArray(section.senses)},
            {u"subsenses"_s, subsenses}};
}

QJsonObject entryJson(const DictionaryEntry& entry) {
    QJsonArray sections;
    for (const DictionaryEntry::Section& section : entry.sections)
        sections.append(sectionJson(section));
    return {{u"headword"_s, entry.headword},
            {u"homographIndex"_s, optionalNumber(entry.homographIndex)},
            {u"phonetic"_s, optionalText(entry.phonetic)},
            {u"sections"_s, sections},
            {u"rawFallback"_s, optionalText(entry.rawFallback)}};
}

// Characters as the filter counts them: of the trimmed text.
qint64 lengthOf(QStringView text) {
    return UnicodeText::characterCount(UnicodeText::trimmed(text));
}

QByteArray compact(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

// The entry's copy text without its first line, the headline.
QString bodyOf(const DictionaryEntry& entry) {
    const QString text = entry.copyText(entry.displayHeadword());
    const qsizetype newline = text.indexOf(u'\n');
    return newline < 0 ? QString() : text.sliced(newline + 1);
}

QString joinedLines(const QStringList& lines) {
    QStringList kept = lines;
    kept.removeAll(QString());
    return kept.join(u'\n');
}

QJsonArray glossJson(const QList<GlossPiece>& pieces) {
    QJsonArray array;
    for (const GlossPiece& piece : pieces) {
        array.append(QJsonObject{
            {u"text"_s, piece.text},
            {u"headword"_s, piece.isGlossed() ? QJsonValue(piece.headword) : QJsonValue()},
            {u"senses"_s, stringArray(piece.senses)},
            {u"phrase"_s, piece.isPhrase}});
    }
    return array;
}

QString payloadName(LookupResult::Payload payload) {
    switch (payload) {
    case LookupResult::Payload::translation:
        return u"translation"_s;
    case LookupResult::Payload::gloss:
        return u"gloss"_s;
    case LookupResult::Payload::dictionary:
        break;
    }
    return u"dictionary"_s;
}

} // namespace

QString plain(const LookupResult& result) {
    if (!result.isDictionaryAnswer()) {
        const QString headline =
            result.phonetic ? result.term + u' ' + *result.phonetic : result.term;
        return joinedLines({headline, result.source.name, result.translation});
    }
    // Headline, the source's name, the senses; further entries follow after a blank line.
    QStringList blocks;
    for (const DictionaryEntry& entry : result.source.entries) {
        const QString headline = entry.headlineText(entry.displayHeadword());
        const QString sourceName = blocks.isEmpty() ? result.source.name : QString();
        blocks.append(joinedLines({headline, sourceName, bodyOf(entry)}));
    }
    return blocks.join(u"\n\n"_s);
}

QByteArray json(const LookupResult& result) {
    QJsonArray entries;
    for (const DictionaryEntry& entry : result.source.entries)
        entries.append(entryJson(entry));
    const bool translated = !result.isDictionaryAnswer();
    return compact({
        {u"term"_s, result.term},
        {u"payload"_s, payloadName(result.payload)},
        {u"source"_s, QJsonObject{{u"id"_s, result.source.id},
                                  {u"shortName"_s, result.source.shortName},
                                  {u"name"_s, result.source.name}}},
        {u"entries"_s, entries},
        {u"translation"_s, translated ? QJsonValue(result.translation) : QJsonValue()},
        {u"phonetic"_s, optionalText(result.phonetic)},
        {u"copyText"_s, optionalText(result.copyAllText())},
        {u"gloss"_s, result.isGloss() ? QJsonValue(glossJson(result.glossPieces)) : QJsonValue()},
    });
}

QString plain(const QString& term, const QList<LookupResult::Source>& sources) {
    QStringList blocks;
    for (const LookupResult::Source& source : sources)
        blocks.append(plain(LookupResult::dictionaryAnswer(term, source)));
    return blocks.join(u"\n\n"_s);
}

QByteArray json(const QString& term, const QList<LookupResult::Source>& sources) {
    QJsonArray array;
    for (const LookupResult::Source& source : sources) {
        QJsonArray entries;
        for (const DictionaryEntry& entry : source.entries)
            entries.append(entryJson(entry));
        array.append(QJsonObject{{u"id"_s, source.id},
                                 {u"shortName"_s, source.shortName},
                                 {u"name"_s, source.name},
                                 {u"entries"_s, entries}});
    }
    return compact({{u"term"_s, term}, {u"sources"_s, array}});
}

// The panel's words for an empty query speak of the clipboard; here the text came as an
// argument, so the reason's own name stands with what it means on the command line.
const QString kEmptyArgument = u"空内容：参数里没有可查的文本"_s;

QString plain(RejectReason reason, QStringView text) {
    if (reason == RejectReason::empty)
        return kEmptyArgument;
    if (reason != RejectReason::tooLong)
        return RejectReasons::userFacing(reason);
    return RejectReasons::userFacing(reason) +
           u"\n上限是 %1 个字符，这段有 %2 个"_s.arg(CommandLine::lengthLimit())
               .arg(lengthOf(text));
}

QByteArray json(RejectReason reason, QStringView text) {
    QJsonObject object{{u"rejected"_s, RejectReasons::caseName(reason)},
                       {u"reason"_s, RejectReasons::description(reason)},
                       {u"message"_s, reason == RejectReason::empty
                                          ? kEmptyArgument
                                          : RejectReasons::userFacing(reason)}};
    if (reason == RejectReason::tooLong) {
        object.insert(u"limit"_s, CommandLine::lengthLimit());
        object.insert(u"length"_s, lengthOf(text));
    }
    return compact(object);
}

QString plain(const LookupError& error) {
    return error.localizedDescription();
}

QByteArray json(const LookupError& error) {
    return compact({{u"error"_s, error.localizedDescription()}});
}

QString plain(QueryKind kind) {
    return kind == QueryKind::word ? u"可以查询：单词"_s : u"可以查询：句子"_s;
}

QByteArray json(QueryKind kind) {
    return compact({{u"kind"_s, kind == QueryKind::word ? u"word"_s : u"sentence"_s}});
}

} // namespace ResultRendering
