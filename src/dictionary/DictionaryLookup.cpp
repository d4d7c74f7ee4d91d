#include "dictionary/DictionaryLookup.h"

#include "base/UnicodeText.h"
#include "dictionary/DefinitionText.h"
#include "dictionary/PlainDefinitionParser.h"
#include "dictionary/WebsterDefinitionParser.h"
#include "dictionary/WordNetDefinitionParser.h"
#include "platform/SystemDictionaryBridge.h"

#include <QHash>
#include <algorithm>

using namespace Qt::StringLiterals;
using DefinitionText::Line;

namespace DictionaryLookup {
namespace {

// "From WordNet (r) 3.0 (2006) [wn]:" — how dictd clients introduce each database's answer.
bool isDatabaseBanner(const Line& line) {
    static const IcuRegex banner(u"^From .+ \\[[^\\[\\]]+\\]:$");
    return banner.matches(line.text);
}

QList<QList<Line>> splitAtBanners(const QList<Line>& lines) {
    QList<QList<Line>> chunks{{}};
    for (const Line& line : lines) {
        if (isDatabaseBanner(line))
            chunks.append(QList<Line>());
        else
            chunks.last().append(line);
    }
    for (QList<Line>& chunk : chunks)
        chunk = DefinitionText::dedented(std::move(chunk));
    chunks.removeIf([](const QList<Line>& chunk) { return chunk.isEmpty(); });
    return chunks;
}

QList<DictionaryEntry> parseChunk(const QList<Line>& lines, const QString& fallbackHeadword) {
    qsizetype firstWebster = -1;
    for (qsizetype i = 0; i < lines.size() && firstWebster < 0; ++i) {
        if (WebsterDefinitionParser::isEntryStart(lines[i]))
            firstWebster = i;
    }
    if (firstWebster < 0) {
        if (WordNetDefinitionParser::recognises(lines))
            return WordNetDefinitionParser::parse(lines, fallbackHeadword);
        return PlainDefinitionParser::parse(lines, fallbackHeadword);
    }

    QList<DictionaryEntry> entries =
        PlainDefinitionParser::parse(lines.first(firstWebster), fallbackHeadword);
    qsizetype start = firstWebster;
    for (qsizetype i = start + 1; i <= lines.size(); ++i) {
        if (i < lines.size() && !WebsterDefinitionParser::isEntryStart(lines[i]))
            continue;
        if (auto entry = WebsterDefinitionParser::parseEntry(lines.sliced(start, i - start),
                                                             fallbackHeadword))
            entries.append(std::move(*entry));
        start = i;
    }
    return entries;
}

// Several entries of one spelling in one answer are homographs: number them 1, 2, … unless
// the dictionary numbered them itself.
void numberHomographs(QList<DictionaryEntry>& entries) {
    QHash<QString, QList<qsizetype>> bySpelling;
    for (qsizetype i = 0; i < entries.size(); ++i)
        bySpelling[UnicodeText::lowercased(entries[i].headword)].append(i);
    for (const QList<qsizetype>& group : std::as_const(bySpelling)) {
        if (group.size() < 2)
            continue;
        const bool numbered = std::any_of(group.begin(), group.end(), [&](qsizetype i) {
            return entries[i].homographIndex.has_value();
        });
        if (numbered)
            continue;
        for (qsizetype n = 0; n < group.size(); ++n)
            entries[group[n]].homographIndex = int(n + 1);
    }
}

} // namespace

QList<DictionaryEntry> parse(const QString& text, const QString& fallbackHeadword) {
    QList<DictionaryEntry> entries;
    for (const QList<Line>& chunk : splitAtBanners(DefinitionText::lines(text)))
        entries.append(parseChunk(chunk, fallbackHeadword));
    numberHomographs(entries);
    if (entries.isEmpty()) {
        const QString whole = UnicodeText::trimmed(text);
        if (!whole.isEmpty()) {
            DictionaryEntry entry;
            entry.headword = fallbackHeadword;
            entry.rawFallback = whole;
            entries.append(std::move(entry));
        }
    }
    return entries;
}

bool containsHanCharacters(QStringView text) {
    return UnicodeText::containsHan(text);
}

std::optional<QString> rawDefinition(const QString& word) {
    if (word.isEmpty())
        return std::nullopt;
    for (const SystemDictionaryBridge::Handle& handle :
         SystemDictionaryBridge::activeDictionaries()) {
        if (auto text = SystemDictionaryBridge::rawDefinition(word, handle))
            return text;
    }
    return std::nullopt;
}

} // namespace DictionaryLookup
