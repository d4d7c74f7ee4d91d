#include "dictionary/WordNetDefinitionParser.h"

using namespace Qt::StringLiterals;
using DefinitionText::Line;

namespace WordNetDefinitionParser {
namespace {

const IcuRegex& senseStart() {
    // "n 1: …", "adj 2: …", "2: …"; a lone sense may come without its number ("n : …").
    static const IcuRegex pattern(u"^(?:(n|v|adj|adv)\\s+)?(?:\\d{1,3}\\s*)?:\\s*(.*)$");
    return pattern;
}

const IcuRegex& partOfSpeechSense() {
    static const IcuRegex pattern(u"^(?:n|v|adj|adv)\\s+(?:\\d{1,3}\\s*)?:");
    return pattern;
}

// The definition without its quoted examples, synonym lists and cross-reference braces.
QString definitionOnly(const QString& text) {
    static const IcuRegex lists(u"\\[(?:syn|ant|also|see also):[^\\]]*\\]?");
    static const IcuRegex examples(u";\\s*\".*$");
    QString kept;
    qsizetype from = 0;
    for (const IcuRegex::Match& match : lists.findAll(text)) {
        kept += QStringView(text).sliced(from, match.start - from);
        from = match.end;
    }
    kept += QStringView(text).sliced(from);
    if (const auto match = examples.find(kept))
        kept.truncate(match->start);
    kept.remove(u'{');
    kept.remove(u'}');
    return DefinitionText::collapsed(kept);
}

} // namespace

bool recognises(const QList<Line>& lines) {
    if (lines.isEmpty() || lines.first().indent != 0)
        return false;
    for (const Line& line : lines) {
        if (line.indent > 0 && partOfSpeechSense().matches(line.text))
            return true;
    }
    return false;
}

QList<DictionaryEntry> parse(const QList<Line>& lines, const QString& fallbackHeadword) {
    QList<DictionaryEntry> entries;
    bool inSense = false;
    for (const Line& line : lines) {
        if (line.isBlank())
            continue;
        if (line.indent == 0) {
            entries.append(DictionaryEntry{});
            entries.last().headword = DefinitionText::collapsed(line.text);
            inSense = false;
            continue;
        }
        if (entries.isEmpty()) {
            entries.append(DictionaryEntry{});
            entries.last().headword = fallbackHeadword;
        }
        DictionaryEntry& entry = entries.last();
        const auto sense = senseStart().find(line.text);
        if (sense) {
            const QStringView partOfSpeech = DefinitionText::group(*sense, line.text, 1);
            if (!partOfSpeech.isEmpty() || entry.sections.isEmpty()) {
                entry.sections.append(DictionaryEntry::Section{
                    std::nullopt, DefinitionText::partOfSpeech(partOfSpeech), {}, {}});
            }
            entry.sections.last().senses.append(
                DefinitionText::group(*sense, line.text, 2).toString());
            inSense = true;
        } else if (inSense) {
            entry.sections.last().senses.last() += u' ' + line.text;
        }
    }

    QList<DictionaryEntry> made;
    for (DictionaryEntry& each : entries) {
        for (DictionaryEntry::Section& section : each.sections) {
            for (QString& sense : section.senses)
                sense = definitionOnly(sense);
            section.senses.removeAll(QString());
        }
        each.sections.removeIf(
            [](const DictionaryEntry::Section& section) { return section.senses.isEmpty(); });
        if (!each.sections.isEmpty())
            made.append(std::move(each));
    }
    return made;
}

} // namespace WordNetDefinitionParser
