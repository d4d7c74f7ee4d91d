#include "lookup/Glosser.h"

#include "base/IcuRegex.h"
#include "base/UnicodeText.h"
#include "dictionary/BundledDictionary.h"
#include "dictionary/BundledEntryBuilder.h"
#include "dictionary/PhraseBook.h"

#include <QHash>
#include <QSet>
#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kSensesKept = 3;

struct Token {
    qsizetype start = 0;
    qsizetype end = 0;
    QString key;          // lower case, plain apostrophes
    QStringList variants; // key first, then the forms a phrase may spell it in
};

bool isLetter(QChar c) {
    return c.isLetter() || c.isMark();
}

bool joinsWords(QChar c) {
    return c == u'-' || c == u'\'' || c == u'’';
}

// Runs of letters with inner hyphens and apostrophes. A run that holds a digit ("3D",
// "mp3") is left as it stands, like a number.
QList<Token> wordTokens(QStringView text) {
    QList<Token> tokens;
    qsizetype i = 0;
    const qsizetype n = text.size();
    while (i < n) {
        if (!isLetter(text[i]) && !text[i].isDigit()) {
            ++i;
            continue;
        }
        qsizetype j = i;
        bool hasDigit = false;
        while (j < n) {
            const QChar c = text[j];
            if (isLetter(c) || c.isDigit()) {
                hasDigit = hasDigit || c.isDigit();
                ++j;
            } else if (joinsWords(c) && j + 1 < n && (isLetter(text[j + 1]))) {
                ++j;
            } else {
                break;
            }
        }
        if (!hasDigit) {
            QString key = UnicodeText::lowercased(text.sliced(i, j - i));
            key.replace(u'’', u'\'');
            tokens.append({i, j, key, {}});
        }
        i = j;
    }
    return tokens;
}

bool isPossessiveDeterminer(const QString& key) {
    static const QSet<QString> determiners{u"my"_s,  u"your"_s, u"his"_s,   u"her"_s,
                                           u"its"_s, u"our"_s,  u"their"_s, u"one's"_s};
    return determiners.contains(key);
}

// ECDICT holds many two-word entries led by an article or "to" whose sense misreads ordinary
// text ("to be" 存在, "the boy" 香槟酒, "a good" 相当); the two words read better on their own.
bool misleadsInRunningText(const QStringList& words) {
    static const QSet<QString> leaders{u"a"_s, u"an"_s, u"the"_s, u"to"_s};
    return words.size() == 2 && leaders.contains(words.front());
}

// ECDICT's notes that only name an inflection's lemma: "be的现在式第三人称".
bool namesItsLemma(QStringView sense) {
    const qsizetype mark = sense.indexOf(u'的');
    if (mark <= 0)
        return false;
    return std::all_of(sense.begin(), sense.begin() + mark, [](QChar c) {
        return (c.unicode() < 0x80 && c.isLetter()) || joinsWords(c);
    });
}

// Drops bracketed English asides ("瞧( look的过去式和过去分词 )" → "瞧") and the notes
// that send an inflected form to its lemma.
QString cleanSense(QStringView sense) {
    QString kept;
    qsizetype i = 0;
    while (i < sense.size()) {
        const QChar c = sense[i];
        if (c == u'(' || c == u'（') {
            const qsizetype close = [&] {
                for (qsizetype j = i + 1; j < sense.size(); ++j) {
                    if (sense[j] == u')' || sense[j] == u'）')
                        return j;
                }
                return qsizetype(-1);
            }();
            if (close > 0) {
                const QStringView inside = sense.sliced(i + 1, close - i - 1);
                const bool english = std::any_of(inside.begin(), inside.end(), [](QChar x) {
                    return x.unicode() < 0x80 && x.isLetter();
                });
                if (english) {
                    i = close + 1;
                    continue;
                }
            }
        }
        kept.append(c);
        ++i;
    }
    kept = UnicodeText::trimmed(kept);
    if (kept.endsWith(u"的变化形式"_s) || namesItsLemma(kept))
        return {};
    return kept;
}

// A word that is also an inflection is met as that inflection far more often in running
// text: "lights" 灯( light的名词复数 ) before 家畜的肺脏, "saw" 看见( see的过去式 ) before 锯.
QStringList inflectionSensesFirst(QStringList senses, const QString& lemma) {
    const QString aside = lemma + u"的"_s;
    std::stable_partition(senses.begin(), senses.end(),
                          [&](const QString& sense) { return sense.contains(aside); });
    return senses;
}

bool isVerb(const std::optional<QString>& partOfSpeech) {
    static const QSet<QString> verbs{u"动词"_s, u"及物动词"_s, u"不及物动词"_s, u"助动词"_s};
    return partOfSpeech && verbs.contains(*partOfSpeech);
}

// The senses of an inflection's lemma; only its verb senses when the note names a verb form.
QStringList lemmaSenses(const DictionaryEntry& lemma, const QString& note) {
    static const IcuRegex verbForm(uR"(过去|分词|第三人称|现在式)");
    if (!verbForm.matches(note))
        return lemma.allSenses();
    QStringList senses;
    for (const DictionaryEntry::Section& section : lemma.sections) {
        if (isVerb(section.partOfSpeech))
            senses += section.senses;
    }
    return senses.isEmpty() ? lemma.allSenses() : senses;
}

QStringList cleanSenses(const QStringList& senses) {
    QStringList kept;
    for (const QString& sense : senses) {
        const QString clean = cleanSense(sense);
        if (!clean.isEmpty() && UnicodeText::containsHan(clean) && !kept.contains(clean))
            kept.append(clean);
        if (kept.size() == kSensesKept)
            break;
    }
    return kept;
}

// A phrase's Chinese: its first general line; lines led by a subject tag ("[计]") only when
// there is nothing else.
QStringList lineSenses(QStringView line) {
    return cleanSenses(
        BundledEntryBuilder::splitSenses(BundledEntryBuilder::splitPartOfSpeech(line).rest));
}

QStringList phraseSenses(const QString& translation) {
    std::optional<QString> first;
    for (const QString& line : translation.split(u'\n')) {
        const QString trimmed = UnicodeText::trimmed(line);
        if (trimmed.isEmpty())
            continue;
        if (!trimmed.startsWith(u'[')) {
            if (QStringList senses = lineSenses(trimmed); !senses.isEmpty())
                return senses;
        }
        if (!first)
            first = trimmed;
    }
    return first ? lineSenses(*first) : QStringList();
}

class Reading {
public:
    Reading(const BundledDictionary& words, const PhraseBook& phrases, QStringView text)
        : m_words(words), m_phrases(phrases), m_text(text), m_tokens(wordTokens(text)) {}

    Gloss run() {
        qsizetype i = 0;
        while (i < m_tokens.size()) {
            if (auto phrase = longestPhraseAt(i)) {
                const auto& [length, piece] = *phrase;
                add(m_tokens[i].start, m_tokens[i + length - 1].end, piece);
                i += length;
                continue;
            }
            if (std::optional<GlossPiece> word = wordAt(i))
                add(m_tokens[i].start, m_tokens[i].end, *word);
            ++i;
        }
        leavePlain(m_text.size());
        return Gloss{std::move(m_pieces)};
    }

private:
    // The spellings a phrase may use for this word: as written, its lemma, the bare noun of a
    // possessive, and "one's" for a possessive determiner.
    const QStringList& variants(qsizetype index) {
        Token& token = m_tokens[index];
        if (!token.variants.isEmpty())
            return token.variants;
        token.variants.append(token.key);
        if (const auto lemma = m_words.lemmaOf(token.key); lemma && *lemma != token.key)
            token.variants.append(*lemma);
        if (token.key.endsWith(u"'s"_s) && token.key.size() > 2)
            token.variants.append(token.key.chopped(2));
        if (isPossessiveDeterminer(token.key) && token.key != u"one's"_s)
            token.variants.append(u"one's"_s);
        return token.variants;
    }

    // Only spaces may stand between the words of a phrase: "give, up" is two pieces.
    bool adjacent(qsizetype left) const {
        const QStringView between =
            m_text.sliced(m_tokens[left].end, m_tokens[left + 1].start - m_tokens[left].end);
        return !between.isEmpty() && UnicodeText::trimmed(between).isEmpty() &&
               !UnicodeText::containsLineBreak(between);
    }

    const QList<PhraseBook::Phrase>& phrasesStartingWith(const QString& firstTwo) {
        auto found = m_phraseCache.find(firstTwo);
        if (found == m_phraseCache.end())
            found = m_phraseCache.insert(firstTwo, m_phrases.startingWith(firstTwo));
        return *found;
    }

    std::optional<std::pair<qsizetype, GlossPiece>> longestPhraseAt(qsizetype index) {
        if (index + 1 >= m_tokens.size() || !adjacent(index))
            return std::nullopt;
        qsizetype bestLength = 0;
        std::optional<PhraseBook::Phrase> best;
        const QStringList firsts = variants(index);
        const QStringList seconds = variants(index + 1);
        for (const QString& first : firsts) {
            for (const QString& second : seconds) {
                for (const PhraseBook::Phrase& phrase :
                     phrasesStartingWith(first + u' ' + second)) {
                    const QStringList words = phrase.key.split(u' ');
                    if (words.size() <= bestLength || misleadsInRunningText(words) ||
                        !matchesAt(index, words))
                        continue;
                    bestLength = words.size();
                    best = phrase;
                }
            }
        }
        if (!best)
            return std::nullopt;
        QStringList senses = phraseSenses(best->translation);
        if (senses.isEmpty())
            return std::nullopt;
        return std::pair{
            bestLength,
            GlossPiece{.headword = best->key, .senses = std::move(senses), .isPhrase = true}};
    }

    bool matchesAt(qsizetype index, const QStringList& words) {
        if (index + words.size() > m_tokens.size())
            return false;
        for (qsizetype k = 0; k < words.size(); ++k) {
            if (k > 0 && !adjacent(index + k - 1))
                return false;
            if (!variants(index + k).contains(words[k]))
                return false;
        }
        return true;
    }

    std::optional<GlossPiece> wordAt(qsizetype index) {
        const Token& token = m_tokens[index];
        const QString& lemma = variants(index).value(1, token.key);
        std::optional<GlossPiece> piece = glossOf(token.key, lemma);
        if (!piece && token.key.endsWith(u"'s"_s))
            piece = glossOf(token.key.chopped(2), lemma);
        // A row that only names its lemma ("is": be的现在式第三人称) says nothing itself.
        if (!piece && lemma != token.key)
            piece = glossOf(lemma, lemma);
        return piece;
    }

    std::optional<GlossPiece> glossOf(const QString& word, const QString& lemma) const {
        const QList<DictionaryEntry> entries = m_words.lookup(word);
        if (entries.isEmpty())
            return std::nullopt;
        QStringList raw = inflectionSensesFirst(entries.front().allSenses(), lemma);
        // A row that calls itself an inflection ("left": leave的过去式和过去分词) is read as
        // that inflection first: the lemma's senses (its verb senses for a verb form), then
        // the row's own.
        const auto note = std::find_if(raw.begin(), raw.end(),
                                       [](const QString& sense) { return namesItsLemma(sense); });
        if (note != raw.end() && lemma != word) {
            if (const QList<DictionaryEntry> lemmas = m_words.lookup(lemma); !lemmas.isEmpty())
                raw = lemmaSenses(lemmas.front(), *note) + raw;
        }
        QStringList senses = cleanSenses(raw);
        if (senses.isEmpty())
            return std::nullopt;
        return GlossPiece{.headword = entries.front().headword, .senses = std::move(senses)};
    }

    void leavePlain(qsizetype until) {
        if (until <= m_cursor)
            return;
        const QStringView plain = m_text.sliced(m_cursor, until - m_cursor);
        if (!m_pieces.isEmpty() && !m_pieces.back().isGlossed())
            m_pieces.back().text += plain;
        else
            m_pieces.append(GlossPiece{.text = plain.toString()});
        m_cursor = until;
    }

    void add(qsizetype start, qsizetype end, GlossPiece piece) {
        leavePlain(start);
        piece.text = m_text.sliced(start, end - start).toString();
        m_pieces.append(std::move(piece));
        m_cursor = end;
    }

    const BundledDictionary& m_words;
    const PhraseBook& m_phrases;
    QStringView m_text;
    QList<Token> m_tokens;
    QHash<QString, QList<PhraseBook::Phrase>> m_phraseCache;
    QList<GlossPiece> m_pieces;
    qsizetype m_cursor = 0;
};

} // namespace

Glosser::Glosser(const BundledDictionary& words, const PhraseBook& phrases)
    : m_words(words), m_phrases(phrases) {}

Gloss Glosser::gloss(QStringView text) const {
    return Reading(m_words, m_phrases, text).run();
}
