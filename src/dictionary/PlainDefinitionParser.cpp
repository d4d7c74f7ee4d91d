#include "dictionary/PlainDefinitionParser.h"

#include "base/UnicodeText.h"
#include "dictionary/BundledEntryBuilder.h"

using namespace Qt::StringLiterals;
using DefinitionText::Line;

namespace PlainDefinitionParser {
namespace {

const IcuRegex& partOfSpeechLine() {
    // "n. 水", "vt. & vi. 某义", "adj./adv. …": one or more abbreviations, then the glosses.
    static const IcuRegex pattern(
        u"^([a-z]{1,6})\\.\\s*((?:(?:&|/|,|和|或)\\s*[a-z]{1,6}\\.\\s*)*)(.*)$");
    return pattern;
}

const IcuRegex& subjectLine() {
    static const IcuRegex pattern(u"^(?:\\[([^\\[\\]]{1,6})\\]|【([^【】]{1,8})】)\\s*(.*)$");
    return pattern;
}

const IcuRegex& numberedLine() {
    static const IcuRegex pattern(u"^(?:\\d{1,2}\\s*[.．、)）]|[\\x{2460}-\\x{2473}])\\s*(.*)$");
    return pattern;
}

const IcuRegex& subsenseLine() {
    static const IcuRegex pattern(u"^(?:\\([a-z]\\)|[a-z]\\))\\s*(.+)$");
    return pattern;
}

const IcuRegex& headingLine() {
    static const IcuRegex pattern(u"^([^:：]{1,16})[:：]$");
    return pattern;
}

const IcuRegex& englishHeadword() {
    static const IcuRegex pattern(
        u"^[A-Za-z][A-Za-z0-9'’\\- .]{0,40}[\\x{00B9}\\x{00B2}\\x{00B3}\\x{2070}-\\x{2079}]*$");
    return pattern;
}

const IcuRegex& chineseHeadword() {
    static const IcuRegex pattern(u"^[\\p{Han}·]{1,12}$");
    return pattern;
}

const IcuRegex& headwordWithTranscription() {
    static const IcuRegex pattern(u"^(.+?)\\s*(\\*?\\[[^\\[\\]]+\\]|/[^/]+/)$");
    return pattern;
}

const IcuRegex& pinyinLine() {
    static const IcuRegex pattern(u"^(?=.*[āáǎàēéěèīíǐìōóǒòūúǔùǖǘǚǜü])[A-Za-zāáǎàēéěèīíǐìōóǒòūú"
                                  u"ǔùǖǘǚǜüÜ' ]+$");
    return pattern;
}

bool isWordish(const QString& text) {
    if (chineseHeadword().matches(text))
        return true;
    return englishHeadword().matches(text) && text.count(u' ') < 4;
}

// Chinese glosses are split at their commas and semicolons; an English line is one sense.
QStringList sensesOf(QStringView text) {
    if (UnicodeText::containsHan(text))
        return BundledEntryBuilder::splitSenses(text);
    const QString sense = DefinitionText::collapsed(text);
    return sense.isEmpty() ? QStringList() : QStringList{sense};
}

// "n." or "vt. & vi." at the start of a line → its Chinese name(s) and what follows; nothing
// when the abbreviation is not a part of speech (so "e.g. …" stays text).
std::optional<std::pair<QString, QString>> splitPartOfSpeech(QStringView text) {
    const auto match = partOfSpeechLine().find(text);
    if (!match)
        return std::nullopt;
    QStringList names;
    const auto first = DefinitionText::partOfSpeech(DefinitionText::group(*match, text, 1));
    if (!first)
        return std::nullopt;
    names.append(*first);
    static const IcuRegex abbreviation(u"[a-z]{1,6}");
    const QStringView more = DefinitionText::group(*match, text, 2);
    for (const IcuRegex::Match& extra : abbreviation.findAll(more)) {
        const auto name =
            DefinitionText::partOfSpeech(more.sliced(extra.start, extra.end - extra.start));
        if (!name)
            return std::nullopt;
        if (!names.contains(*name))
            names.append(*name);
    }
    return std::pair{names.join(u"、"_s), DefinitionText::group(*match, text, 3).toString()};
}

// "[医] 水剂" or "【医】 水剂" → the subject and what follows. Only a Chinese subject counts:
// "[U]" or "[C]" before a sense marks countability, not a field.
std::optional<std::pair<QString, QStringView>> splitSubject(QStringView text) {
    const auto match = subjectLine().find(text);
    if (!match)
        return std::nullopt;
    QStringView tag = DefinitionText::group(*match, text, 1);
    if (tag.isEmpty())
        tag = DefinitionText::group(*match, text, 2);
    if (!UnicodeText::containsHan(tag))
        return std::nullopt;
    return std::pair{tag.trimmed().toString(), DefinitionText::group(*match, text, 3)};
}

class EntryBuilder {
public:
    EntryBuilder(QString headword, std::optional<int> homographIndex,
                 std::optional<QString> phonetic) {
        m_entry.headword = std::move(headword);
        m_entry.homographIndex = homographIndex;
        m_entry.phonetic = std::move(phonetic);
    }

    void add(const Line& line) {
        m_raw.append(line.text);
        if (addedPhonetic(line))
            return;
        if (const auto split = splitPartOfSpeech(line.text)) {
            startSection(std::nullopt, split->first);
            addSenses(split->second, line.indent);
        } else if (const auto subject = splitSubject(line.text)) {
            startSection(BundledEntryBuilder::localizedTag(subject->first), std::nullopt);
            addSenses(subject->second, line.indent);
        } else if (const auto numbered = numberedLine().find(line.text)) {
            const QStringView rest = DefinitionText::group(*numbered, line.text, 1);
            // Some dictionaries number first and name the part of speech after: "1. n. 水".
            if (const auto split = splitPartOfSpeech(rest)) {
                startSection(std::nullopt, split->first);
                addSense(split->second, line.indent);
            } else {
                addSense(rest, line.indent);
            }
        } else if (const auto subsense = subsenseLine().find(line.text)) {
            addSubsense(DefinitionText::group(*subsense, line.text, 1), line.indent);
        } else if (const auto heading = headingLine().find(line.text)) {
            startSection(DefinitionText::collapsed(DefinitionText::group(*heading, line.text, 1)),
                         std::nullopt);
        } else if (m_lastSenseIndent >= 0 && line.indent > m_lastSenseIndent) {
            // Indented under a sense: an example or a finer sense of it.
            addSubsense(line.text, line.indent);
        } else {
            addSenses(line.text, line.indent);
        }
    }

    std::optional<DictionaryEntry> finish() {
        m_entry.sections.removeIf(
            [](const DictionaryEntry::Section& section) { return section.senses.isEmpty(); });
        if (m_entry.sections.isEmpty()) {
            const QString raw = UnicodeText::trimmed(m_raw.join(u'\n'));
            if (raw.isEmpty())
                return std::nullopt;
            m_entry.rawFallback = raw;
        }
        return m_entry;
    }

private:
    // A transcription on a line of its own before any sense belongs to the headword.
    bool addedPhonetic(const Line& line) {
        if (m_entry.phonetic || !m_entry.sections.isEmpty())
            return false;
        m_entry.phonetic = DefinitionText::phonetic(line.text);
        if (!m_entry.phonetic)
            return false;
        m_raw.removeLast();
        return true;
    }

    DictionaryEntry::Section& section() {
        if (m_entry.sections.isEmpty())
            m_entry.sections.append(DictionaryEntry::Section{});
        return m_entry.sections.last();
    }

    void startSection(std::optional<QString> label, std::optional<QString> partOfSpeech) {
        m_lastSenseIndent = -1;
        if (!m_entry.sections.isEmpty() && m_entry.sections.last() == DictionaryEntry::Section{}) {
            m_entry.sections.last() = {std::move(label), std::move(partOfSpeech), {}, {}};
            return;
        }
        m_entry.sections.append(
            DictionaryEntry::Section{std::move(label), std::move(partOfSpeech), {}, {}});
    }

    void addSense(QStringView text, qsizetype indent) {
        const QString sense = DefinitionText::collapsed(text);
        if (sense.isEmpty())
            return;
        section().senses.append(sense);
        m_lastSenseIndent = indent;
    }

    void addSenses(QStringView text, qsizetype indent) {
        const QStringList senses = sensesOf(text);
        if (senses.isEmpty())
            return;
        section().senses.append(senses);
        m_lastSenseIndent = indent;
    }

    void addSubsense(QStringView text, qsizetype indent) {
        DictionaryEntry::Section& current = section();
        if (current.senses.isEmpty()) {
            addSense(text, indent);
            return;
        }
        const QString subsense = DefinitionText::collapsed(text);
        if (subsense.isEmpty())
            return;
        while (current.subsenses.size() < current.senses.size())
            current.subsenses.append(QStringList());
        current.subsenses.last().append(subsense);
    }

    DictionaryEntry m_entry;
    QStringList m_raw;
    qsizetype m_lastSenseIndent = -1;
};

struct HeadwordLine {
    DefinitionText::Headword headword;
    std::optional<QString> phonetic;
    qsizetype linesUsed = 1;
};

bool startsBody(const Line& line) {
    return splitPartOfSpeech(line.text) || numberedLine().matches(line.text) ||
           splitSubject(line.text);
}

// Whether lines[i] names the entry that follows it, and how many lines that takes.
std::optional<HeadwordLine> headwordAt(const QList<Line>& lines, qsizetype i,
                                       const QString& fallbackHeadword) {
    const QString& text = lines[i].text;
    if (DefinitionText::phonetic(text) || startsBody(lines[i]))
        return std::nullopt;
    if (const auto match = headwordWithTranscription().find(text)) {
        const QString word = DefinitionText::group(*match, text, 1).toString();
        auto phonetic = DefinitionText::phonetic(DefinitionText::group(*match, text, 2));
        if (phonetic && isWordish(word))
            return HeadwordLine{DefinitionText::headword(word), std::move(phonetic)};
    }
    if (!isWordish(text))
        return std::nullopt;
    const DefinitionText::Headword headword = DefinitionText::headword(text);
    const Line* next = i + 1 < lines.size() ? &lines[i + 1] : nullptr;
    if (next) {
        if (auto phonetic = DefinitionText::phonetic(next->text))
            return HeadwordLine{headword, std::move(phonetic), 2};
        if (UnicodeText::containsHan(text) && pinyinLine().matches(next->text))
            return HeadwordLine{headword, next->text, 2};
    }
    if (UnicodeText::lowercased(headword.text) == UnicodeText::lowercased(fallbackHeadword))
        return HeadwordLine{headword};
    if (next && !UnicodeText::containsHan(text) && startsBody(*next))
        return HeadwordLine{headword};
    return std::nullopt;
}

} // namespace

QList<DictionaryEntry> parse(const QList<Line>& lines, const QString& fallbackHeadword) {
    QList<DictionaryEntry> entries;
    std::optional<EntryBuilder> current;
    auto finishCurrent = [&] {
        if (current) {
            if (auto entry = current->finish())
                entries.append(std::move(*entry));
        }
        current.reset();
    };

    bool blockStart = true;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (lines[i].isBlank()) {
            blockStart = true;
            continue;
        }
        if (blockStart) {
            blockStart = false;
            if (const auto named = headwordAt(lines, i, fallbackHeadword)) {
                finishCurrent();
                current.emplace(named->headword.text, named->headword.homographIndex,
                                named->phonetic);
                i += named->linesUsed - 1;
                continue;
            }
        }
        if (!current)
            current.emplace(fallbackHeadword, std::nullopt, std::nullopt);
        current->add(lines[i]);
    }
    finishCurrent();
    return entries;
}

} // namespace PlainDefinitionParser
