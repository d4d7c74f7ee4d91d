#include "EcdictConverter.h"

#include "base/IcuRegex.h"
#include "base/UnicodeText.h"
#include "filter/QueryKind.h"
#include "filter/TextFilter.h"

#include <QByteArray>
#include <QFileInfo>
#include <QHash>
#include <QList>
#include <algorithm>
#include <filesystem>
#include <limits>
#include <optional>
#include <sqlite3.h>
#include <system_error>
#include <tuple>

using namespace Qt::StringLiterals;

namespace EcdictConverter {
namespace {

// ECDICT's frequency columns are ranks: 1 is the most common word, 0 or NULL unranked.
struct Rank {
    qint64 frq = std::numeric_limits<qint64>::max();
    qint64 bnc = std::numeric_limits<qint64>::max();

    static qint64 fromColumn(sqlite3_stmt* statement, int column) {
        const qint64 value = sqlite3_column_int64(statement, column); // NULL reads as 0
        return value > 0 ? value : std::numeric_limits<qint64>::max();
    }
    bool operator<(const Rank& other) const {
        return std::tie(frq, bnc) < std::tie(other.frq, other.bnc);
    }
};

struct WordRow {
    QByteArray phonetic; // kept as the source spells it; the reader normalises
    QByteArray translation;
    QByteArray pos;
    Rank rank;
    bool lowerCaseHeadword = false;
    qint64 order = 0;

    // Among rows that lower-case to one key: the one already in lower case, then the more
    // common word, then the earlier row.
    bool preferredOver(const WordRow& other) const {
        if (lowerCaseHeadword != other.lowerCaseHeadword)
            return lowerCaseHeadword;
        if (rank < other.rank || other.rank < rank)
            return rank < other.rank;
        return order < other.order;
    }
};

struct FormClaim {
    QString form;
    QString lemma;
    bool declaredByForm = false; // the form's own row named its lemma ("0:")
    qint64 order = 0;
};

class Database {
public:
    ~Database() { sqlite3_close(m_db); }
    bool open(const QString& path, int flags) {
        const QByteArray file = path.toUtf8();
        return sqlite3_open_v2(file.constData(), &m_db, flags, nullptr) == SQLITE_OK;
    }
    sqlite3* get() const { return m_db; }
    QString error() const {
        return m_db ? QString::fromUtf8(sqlite3_errmsg(m_db)) : u"out of memory"_s;
    }
    bool exec(const char* sql) const {
        return sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
    }
    void close() {
        sqlite3_close(m_db);
        m_db = nullptr;
    }

private:
    sqlite3* m_db = nullptr;
};

class Statement {
public:
    Statement(sqlite3* db, const char* sql) {
        sqlite3_prepare_v2(db, sql, -1, &m_statement, nullptr);
    }
    ~Statement() { sqlite3_finalize(m_statement); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;
    explicit operator bool() const { return m_statement != nullptr; }
    sqlite3_stmt* get() const { return m_statement; }

private:
    sqlite3_stmt* m_statement = nullptr;
};

QString columnString(sqlite3_stmt* statement, int column) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
    return text ? QString::fromUtf8(text, sqlite3_column_bytes(statement, column)) : QString();
}

QByteArray columnBytes(sqlite3_stmt* statement, int column) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
    return text ? QByteArray(text, sqlite3_column_bytes(statement, column)) : QByteArray();
}

// Only keys a lookup can ever be asked for: one token of letters, hyphens and apostrophes.
bool isReachable(const QString& trimmedWord) {
    return !trimmedWord.isEmpty() && TextFilter::kind(trimmedWord) == QueryKind::word;
}

// A headword of several words as a phrase key: its tokens lower-cased, apostrophes made
// plain, one space between them. ECDICT marks an open slot at the end with dots ("be
// available to..."); what precedes it still reads as the phrase. Headwords with other
// punctuation or slots ("call sb. to order") cannot match running text as they stand.
std::optional<QString> phraseKey(const QString& trimmedHeadword) {
    static const IcuRegex trailingSlot(uR"([.…]+$)");
    QString text = trimmedHeadword;
    if (const auto slot = trailingSlot.find(text))
        text.truncate(slot->start);
    text.replace(u'’', u'\'');
    const QStringList tokens = text.split(u' ', Qt::SkipEmptyParts);
    if (tokens.size() < 2)
        return std::nullopt;
    for (const QString& token : tokens) {
        if (!isReachable(token))
            return std::nullopt;
    }
    return UnicodeText::lowercased(tokens.join(u' '));
}

// "p:ran/d:run/i:running/3:runs/0:run/1:d" → the forms a lemma row declares, and the lemma
// a form row declares. Other keys (comparatives' "b:"/"z:", "f:", "1:") describe nothing
// a lookup needs.
void collectClaims(const QString& key, QStringView exchange, qint64 order,
                   QList<FormClaim>& claims) {
    for (const QStringView item : exchange.split(u'/')) {
        if (item.size() < 3 || item[1] != u':')
            continue;
        const QString value = UnicodeText::lowercased(UnicodeText::trimmed(item.sliced(2)));
        if (value.isEmpty())
            continue;
        const char16_t kind = item[0].unicode();
        if (kind == u'0')
            claims.append({key, value, true, order});
        else if (QStringView(u"pdi3srt").contains(QChar(kind)))
            claims.append({value, key, false, order});
    }
}

// ECDICT keeps many irregular forms as rows whose only text names the lemma
// ("go的过去式", "teach的过去式和过去分词"). Sending such a form to its lemma's full entry
// serves a reader far better than the one-line note. Returns that lemma, lower-cased.
std::optional<QString> bareInflectionLemma(const QString& translation) {
    static const IcuRegex note(uR"(^([A-Za-z][A-Za-z'’\-]*)的\p{Han}+$)");
    std::optional<QString> lemma;
    for (const QString& line : translation.split(u'\n')) {
        const QString trimmed = UnicodeText::trimmed(line);
        if (trimmed.isEmpty())
            continue;
        const auto match = note.find(trimmed);
        if (!match)
            return std::nullopt;
        const auto [start, end] = match->groups.front();
        const QString named =
            UnicodeText::lowercased(QStringView(trimmed).sliced(start, end - start));
        if (lemma && *lemma != named)
            return std::nullopt;
        lemma = named;
    }
    return lemma;
}

struct BareInflection {
    QString lemma;
    WordRow row; // kept as a word after all when the lemma has no row of its own
};

void collectPhrase(const QString& headword, sqlite3_stmt* row, qint64 order,
                   QHash<QString, WordRow>& phrases) {
    const std::optional<QString> key = phraseKey(headword);
    if (!key)
        return;
    WordRow phrase;
    phrase.translation = columnBytes(row, 2);
    if (phrase.translation.trimmed().isEmpty())
        return;
    phrase.lowerCaseHeadword = headword == *key;
    phrase.order = order;
    auto existing = phrases.find(*key);
    if (existing == phrases.end())
        phrases.insert(*key, std::move(phrase));
    else if (phrase.preferredOver(existing.value()))
        existing.value() = std::move(phrase);
}

struct Source {
    QHash<QString, WordRow> words;
    QHash<QString, WordRow> phrases; // only translation, case and order are used
    QHash<QString, BareInflection> bareInflections;
    QList<FormClaim> claims;
    qint64 rows = 0;
};

std::variant<Source, Failure> readSource(const QString& path) {
    if (!QFileInfo(path).isFile())
        return Failure{u"no ECDICT file at %1"_s.arg(path)};
    Database db;
    if (!db.open(path, SQLITE_OPEN_READONLY))
        return Failure{u"cannot open %1: %2"_s.arg(path, db.error())};
    {
        Statement probe(db.get(),
                        "SELECT 1 FROM sqlite_master WHERE type = 'table' AND name = 'stardict'");
        if (!probe)
            return Failure{u"cannot read %1: %2"_s.arg(path, db.error())};
        if (sqlite3_step(probe.get()) != SQLITE_ROW)
            return Failure{u"%1 has no table named stardict"_s.arg(path)};
    }
    Statement scan(db.get(),
                   "SELECT word, phonetic, translation, pos, exchange, frq, bnc FROM stardict");
    if (!scan)
        return Failure{u"cannot read the stardict table of %1: %2"_s.arg(path, db.error())};

    Source source;
    int status = SQLITE_ROW;
    while ((status = sqlite3_step(scan.get())) == SQLITE_ROW) {
        const qint64 order = source.rows++;
        const QString headword = UnicodeText::trimmed(columnString(scan.get(), 0));
        if (!isReachable(headword)) {
            collectPhrase(headword, scan.get(), order, source.phrases);
            continue;
        }
        const QString key = UnicodeText::lowercased(headword);
        collectClaims(key, columnString(scan.get(), 4), order, source.claims);

        WordRow row;
        row.translation = columnBytes(scan.get(), 2);
        // A row with nothing to show would answer with an empty panel; such rows (often
        // bare inflections) still name their lemma above.
        if (row.translation.trimmed().isEmpty())
            continue;
        row.phonetic = columnBytes(scan.get(), 1);
        row.pos = columnBytes(scan.get(), 3);
        row.rank = {Rank::fromColumn(scan.get(), 5), Rank::fromColumn(scan.get(), 6)};
        row.lowerCaseHeadword = headword == key;
        row.order = order;

        if (auto lemma = bareInflectionLemma(QString::fromUtf8(row.translation));
            lemma && *lemma != key) {
            if (!source.bareInflections.contains(key))
                source.bareInflections.insert(key, {*lemma, std::move(row)});
            continue;
        }
        auto existing = source.words.find(key);
        if (existing == source.words.end())
            source.words.insert(key, std::move(row));
        else if (row.preferredOver(existing.value()))
            existing.value() = std::move(row);
    }
    if (status != SQLITE_DONE)
        return Failure{u"cannot read the stardict table of %1: %2"_s.arg(path, db.error())};
    for (auto it = source.bareInflections.cbegin(); it != source.bareInflections.cend(); ++it) {
        if (source.words.contains(it.key()))
            continue; // another spelling of the key has a full entry
        if (source.words.contains(it->lemma))
            source.claims.append({it.key(), it->lemma, true, it->row.order});
        else
            source.words.insert(it.key(), it->row);
    }
    return source;
}

// ECDICT's "ideas" row holds only the acronym IDEAS (工业设计优秀奖), and "ages", "oscars",
// "boomers" are no better; a capitalised headword ("US") can take a lower-case key the same
// way. A reader of such a word means the plural (or other inflection) of its lemma, so a row
// that is only an acronym, or came from a capitalised headword, gives way to the inflection
// of a lower-case lemma. Returns how many rows gave way.
bool readsAsAcronym(const WordRow& row) {
    return row.translation.trimmed().startsWith("abbr.");
}

qint64 preferInflectionsOverAcronyms(Source& source) {
    qint64 replaced = 0;
    for (const FormClaim& claim : std::as_const(source.claims)) {
        if (claim.form == claim.lemma)
            continue;
        const auto form = source.words.find(claim.form);
        const auto lemma = source.words.constFind(claim.lemma);
        if (form == source.words.end() || lemma == source.words.constEnd() ||
            !lemma->lowerCaseHeadword || readsAsAcronym(*lemma))
            continue;
        if (form->lowerCaseHeadword && !readsAsAcronym(*form))
            continue;
        source.words.erase(form);
        ++replaced;
    }
    return replaced;
}

// One lemma per form: the form's own declaration first, then the more common lemma, then
// the earlier row.
QHash<QString, FormClaim> resolveForms(const Source& source) {
    QHash<QString, FormClaim> chosen;
    for (const FormClaim& claim : source.claims) {
        // A form with a row of its own keeps it for lookups, which find the word first; its
        // lemma still lets phrases match inflected ("looked forward to").
        if (claim.form == claim.lemma || !isReachable(claim.form))
            continue;
        const auto lemma = source.words.constFind(claim.lemma);
        if (lemma == source.words.constEnd())
            continue;
        auto current = chosen.find(claim.form);
        if (current == chosen.end()) {
            chosen.insert(claim.form, claim);
            continue;
        }
        const FormClaim& held = current.value();
        const Rank heldRank = source.words.value(held.lemma).rank;
        const bool better =
            claim.declaredByForm != held.declaredByForm
                ? claim.declaredByForm
                : (lemma->rank < heldRank || heldRank < lemma->rank ? lemma->rank < heldRank
                                                                    : claim.order < held.order);
        if (better)
            current.value() = claim;
    }
    return chosen;
}

// Keys in SQLite's own (byte) order, so the tables' B-trees fill page by page.
template <typename Value>
QList<std::pair<QByteArray, const Value*>> sortedByKey(const QHash<QString, Value>& table) {
    QList<std::pair<QByteArray, const Value*>> sorted;
    sorted.reserve(table.size());
    for (auto it = table.constBegin(); it != table.constEnd(); ++it)
        sorted.append({it.key().toUtf8(), &it.value()});
    std::sort(sorted.begin(), sorted.end(),
              [](const auto& a, const auto& b) { return a.first < b.first; });
    return sorted;
}

void bindText(sqlite3_stmt* statement, int index, const QByteArray& text,
              sqlite3_destructor_type lifetime = SQLITE_STATIC) {
    if (text.isEmpty())
        sqlite3_bind_null(statement, index);
    else
        sqlite3_bind_text(statement, index, text.constData(), static_cast<int>(text.size()),
                          lifetime);
}

// One row per key, in key order: the key at parameter 1, the rest bound by `bindRest`.
template <typename Value, typename BindRest>
bool insertAll(const Database& db, const char* sql,
               const QList<std::pair<QByteArray, const Value*>>& rows, BindRest bindRest) {
    Statement insert(db.get(), sql);
    if (!insert)
        return false;
    for (const auto& [key, value] : rows) {
        bindText(insert.get(), 1, key);
        bindRest(insert.get(), *value);
        if (sqlite3_step(insert.get()) != SQLITE_DONE)
            return false;
        sqlite3_reset(insert.get());
    }
    return true;
}

std::optional<Failure> write(const QString& path, const Source& source,
                             const QHash<QString, FormClaim>& forms) {
    Database db;
    if (!db.open(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE))
        return Failure{u"cannot create %1: %2"_s.arg(path, db.error())};
    auto failed = [&db, &path] {
        return Failure{u"cannot write %1: %2"_s.arg(path, db.error())};
    };
    // A scratch file: if anything fails it is thrown away, so it needs no journal.
    if (!db.exec("PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF; BEGIN;") ||
        !db.exec("CREATE TABLE words(word TEXT PRIMARY KEY, phonetic TEXT, translation TEXT, "
                 "pos TEXT) WITHOUT ROWID;"
                 "CREATE TABLE forms(form TEXT PRIMARY KEY, lemma TEXT) WITHOUT ROWID;"
                 "CREATE TABLE phrases(phrase TEXT PRIMARY KEY, translation TEXT) "
                 "WITHOUT ROWID;"))
        return failed();
    const bool written =
        insertAll(db, "INSERT INTO words VALUES (?, ?, ?, ?)", sortedByKey(source.words),
                  [](sqlite3_stmt* insert, const WordRow& row) {
                      bindText(insert, 2, row.phonetic);
                      bindText(insert, 3, row.translation);
                      bindText(insert, 4, row.pos);
                  }) &&
        insertAll(db, "INSERT INTO forms VALUES (?, ?)", sortedByKey(forms),
                  [](sqlite3_stmt* insert, const FormClaim& claim) {
                      bindText(insert, 2, claim.lemma.toUtf8(), SQLITE_TRANSIENT);
                  }) &&
        insertAll(
            db, "INSERT INTO phrases VALUES (?, ?)", sortedByKey(source.phrases),
            [](sqlite3_stmt* insert, const WordRow& row) { bindText(insert, 2, row.translation); });
    if (!written)
        return failed();
    if (!db.exec("COMMIT;"))
        return failed();
    db.close();
    return std::nullopt;
}

} // namespace

std::variant<Summary, Failure> convert(const QString& source, const QString& destination) {
    auto read = readSource(source);
    if (const auto* failure = std::get_if<Failure>(&read))
        return *failure;
    Source& data = std::get<Source>(read);
    const qint64 acronymRowsReplaced = preferInflectionsOverAcronyms(data);
    const QHash<QString, FormClaim> forms = resolveForms(data);

    const std::filesystem::path target = destination.toStdString();
    std::filesystem::path scratch = target;
    scratch += ".tmp";
    std::error_code ignored;
    std::filesystem::remove(scratch, ignored);
    if (auto failure = write(QString::fromStdString(scratch.string()), data, forms)) {
        std::filesystem::remove(scratch, ignored);
        return *failure;
    }
    std::error_code error;
    std::filesystem::rename(scratch, target, error);
    if (error) {
        std::filesystem::remove(scratch, ignored);
        return Failure{u"cannot move the new database to %1: %2"_s.arg(
            destination, QString::fromStdString(error.message()))};
    }
    return Summary{
        data.rows,           data.words.size(),
        forms.size(),        data.phrases.size(),
        acronymRowsReplaced, static_cast<qint64>(std::filesystem::file_size(target, ignored))};
}

} // namespace EcdictConverter
