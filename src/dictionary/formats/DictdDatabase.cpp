#include "dictionary/formats/DictdDatabase.h"

#include "platform/SafeFiles.h"

#include <QFileInfo>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// The index is read into memory, not mapped, so a file rewritten on disk cannot pull pages
// from under a search. The largest indexes in circulation are a few tens of megabytes.
constexpr qint64 kLargestIndex = qint64(256) << 20;

constexpr bool isAsciiAlphanumeric(unsigned char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// Space characters other than the tab and new line that separate the index's columns.
constexpr bool isKeptSpace(unsigned char c) {
    return c == ' ' || c == '\v' || c == '\f' || c == '\r';
}

constexpr unsigned char asciiLower(unsigned char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<unsigned char>(c + ('a' - 'A')) : c;
}

int base64Digit(char c) {
    if (c >= 'A' && c <= 'Z')
        return c - 'A';
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 26;
    if (c >= '0' && c <= '9')
        return c - '0' + 52;
    if (c == '+')
        return 62;
    if (c == '/')
        return 63;
    return -1;
}

} // namespace

DictdDatabase::Files DictdDatabase::filesBeside(const QString& indexPath) {
    const QString stem = indexPath.chopped(6); // ".index"
    for (const QString& text : {stem + u".dict.dz"_s, stem + u".dict"_s}) {
        if (QFileInfo::exists(text))
            return Files{indexPath, text};
    }
    return Files{indexPath, QString()};
}

std::optional<quint64> DictdDatabase::decodeNumber(QByteArrayView digits) {
    // Ten digits (60 bits) reach past any file; dictd never writes more.
    if (digits.isEmpty() || digits.size() > 10)
        return std::nullopt;
    quint64 value = 0;
    for (const char c : digits) {
        const int digit = base64Digit(c);
        if (digit < 0)
            return std::nullopt;
        value = value << 6 | quint64(digit);
    }
    return value;
}

OrDefect<std::unique_ptr<DictdDatabase>> DictdDatabase::open(const Files& files) {
    auto index = SafeFiles::readRegularFile(files.index, kLargestIndex);
    if (const auto* failure = std::get_if<SafeFiles::Failure>(&index))
        return DictionaryDefect{u"索引文件无法读取："_s + failure->reason};
    if (files.text.isEmpty())
        return DictionaryDefect{u"缺少正文文件（.dict）"_s};
    auto text = DictZipFile::open(files.text);
    if (const auto* defect = std::get_if<DictionaryDefect>(&text))
        return *defect;
    return fromParts(QFileInfo(files.index).fileName().chopped(6),
                     std::get<QByteArray>(std::move(index)),
                     std::get<std::unique_ptr<DictZipFile>>(std::move(text)));
}

OrDefect<std::unique_ptr<DictdDatabase>>
DictdDatabase::fromParts(const QString& databaseName, QByteArray index,
                         std::unique_ptr<DictZipFile> text) {
    std::unique_ptr<DictdDatabase> database(new DictdDatabase());
    database->m_databaseName = databaseName;
    if (index.isEmpty())
        return DictionaryDefect{u"索引文件是空的"_s};
    database->m_indexBytes = std::move(index);
    database->m_index = database->m_indexBytes;
    database->m_text = std::move(text);

    // A cut-off index ends in a broken line, and a cut-off text no longer holds every entry:
    // lines sampled across the index, the last among them, must read and point inside.
    const QByteArrayView lines = database->m_index;
    constexpr qsizetype kSamples = 32;
    for (qsizetype sample = 0; sample <= kSamples; ++sample) {
        qsizetype start = std::min(lines.size() - 1, lines.size() * sample / kSamples);
        if (sample == kSamples && start > 0 && lines.endsWith('\n'))
            --start;
        while (start > 0 && lines[start - 1] != '\n')
            --start;
        const std::optional<Line> line = database->lineAt(start);
        if (!line)
            return DictionaryDefect{u"索引文件被截断或已损坏"_s};
        if (line->offset > database->m_text->size() ||
            line->length > database->m_text->size() - line->offset)
            return DictionaryDefect{u"索引指向正文之外，正文可能不完整"_s};
    }

    const auto has = [&database](QByteArrayView headword) {
        return !database->metadataLines(headword).empty();
    };
    database->m_allCharacters = has("00-database-allchars") || has("00databaseallchars");
    database->m_caseSensitive = has("00-database-case-sensitive");
    database->m_utf8 = has("00-database-utf8");
    const bool eightBit = has("00-database-8bit-new");
    database->m_order =
        database->m_allCharacters || database->m_utf8 || eightBit ? Order::bytes : Order::folded;

    database->m_name = database->m_databaseName;
    for (const QByteArrayView headword : {"00-database-short", "00databaseshort"}) {
        const std::vector<Line> lines = database->metadataLines(headword);
        if (lines.empty())
            continue;
        const std::optional<QString> text = database->entryText(lines.front());
        if (!text)
            return DictionaryDefect{u"正文无法读取或已损坏"_s};
        // The entry repeats its headword on its first line, as dictfmt writes every entry.
        QStringList rows = text->split(u'\n');
        if (!rows.isEmpty() && rows.front().trimmed() == QString::fromLatin1(headword))
            rows.removeFirst();
        const QString joined = rows.join(u'\n').trimmed();
        if (!joined.isEmpty())
            database->m_name = joined.section(u'\n', 0, 0).trimmed();
        break;
    }
    return database;
}

qsizetype DictdDatabase::lineEnd(qsizetype start) const {
    const qsizetype end = m_index.indexOf('\n', start);
    return end < 0 ? m_index.size() : end;
}

std::optional<DictdDatabase::Line> DictdDatabase::lineAt(qsizetype start) const {
    QByteArrayView text = m_index.sliced(start, lineEnd(start) - start);
    if (text.endsWith('\r'))
        text.chop(1);
    QByteArrayView columns[4];
    qsizetype count = 0;
    qsizetype from = 0;
    while (count < 4) {
        const qsizetype tab = text.indexOf('\t', from);
        columns[count++] = text.sliced(from, (tab < 0 ? text.size() : tab) - from);
        if (tab < 0)
            break;
        from = tab + 1;
    }
    if (count < 3)
        return std::nullopt;
    const auto offset = decodeNumber(columns[1]);
    const auto length = decodeNumber(columns[2]);
    if (!offset || !length)
        return std::nullopt;
    return Line{columns[0], count == 4 ? columns[3] : columns[0], *offset, *length};
}

QByteArray DictdDatabase::searchKey(const QString& word) const {
    if (m_utf8) {
        QString kept;
        for (const QChar c : word)
            if (m_allCharacters || c.isLetterOrNumber() || c.isSpace() || c.isSurrogate())
                kept += c;
        return (m_caseSensitive ? kept : kept.toLower()).toUtf8();
    }
    QByteArray key;
    for (const char c : word.toUtf8()) {
        const auto byte = static_cast<unsigned char>(c);
        if (!m_allCharacters && byte < 0x80 && !isAsciiAlphanumeric(byte) && !isKeptSpace(byte))
            continue;
        key += char(m_caseSensitive ? byte : asciiLower(byte));
    }
    return key;
}

int DictdDatabase::compareKey(qsizetype lineStart, QByteArrayView key, Order order) const {
    const char* at = m_index.data() + lineStart;
    const char* const end = m_index.data() + m_index.size();
    qsizetype k = 0;
    while (at < end && *at != '\t' && *at != '\n') {
        auto byte = static_cast<unsigned char>(*at++);
        if (order == Order::folded) {
            // Punctuation does not take part; bytes past ASCII belong to UTF-8 letters.
            if (byte < 0x80 && !isAsciiAlphanumeric(byte) && !isKeptSpace(byte))
                continue;
            if (!m_caseSensitive)
                byte = asciiLower(byte);
        }
        if (k == key.size())
            return 1;
        const auto wanted = static_cast<unsigned char>(key[k++]);
        if (byte != wanted)
            return byte < wanted ? -1 : 1;
    }
    return k == key.size() ? 0 : -1;
}

std::vector<DictdDatabase::Line> DictdDatabase::equalLines(QByteArrayView key, Order order) const {
    // Lower bound over line starts: lines before `low` sort below the key, lines from
    // `high` on do not.
    qsizetype low = 0;
    qsizetype high = m_index.size();
    while (low < high) {
        qsizetype start = low + (high - low) / 2;
        while (start > low && m_index[start - 1] != '\n')
            --start;
        if (compareKey(start, key, order) < 0)
            low = std::min(lineEnd(start) + 1, m_index.size());
        else
            high = start;
    }
    std::vector<Line> lines;
    for (qsizetype start = low; start < m_index.size() && compareKey(start, key, order) == 0;
         start = lineEnd(start) + 1) {
        if (const auto line = lineAt(start))
            lines.push_back(*line);
    }
    return lines;
}

std::vector<DictdDatabase::Line> DictdDatabase::metadataLines(QByteArrayView headword) const {
    // Which order the index uses is itself recorded in these lines, so both are tried; a
    // search in the wrong order can miss but never finds a line that is not there.
    QByteArray folded;
    for (const char c : headword)
        if (isAsciiAlphanumeric(static_cast<unsigned char>(c)))
            folded += c;
    std::vector<Line> lines = equalLines(headword, Order::bytes);
    if (lines.empty())
        lines = equalLines(folded, Order::folded);
    std::erase_if(lines, [headword](const Line& line) { return line.key != headword; });
    return lines;
}

std::optional<QString> DictdDatabase::entryText(const Line& line) {
    const std::optional<QByteArray> bytes = m_text->read(line.offset, line.length);
    if (!bytes)
        return std::nullopt;
    return QString::fromUtf8(*bytes).trimmed();
}

OrDefect<QStringList> DictdDatabase::definitions(const QString& word) {
    const QByteArray key = searchKey(word);
    if (key.isEmpty())
        return QStringList();
    std::vector<Line> lines = equalLines(key, m_order);
    const auto differentWord = [&word](const Line& line) {
        return QString::fromUtf8(line.shown).compare(word, Qt::CaseInsensitive) != 0;
    };
    if (!std::all_of(lines.begin(), lines.end(), differentWord))
        std::erase_if(lines, differentWord);

    QStringList texts;
    std::vector<std::pair<quint64, quint64>> seen;
    for (const Line& line : lines) {
        const std::pair place{line.offset, line.length};
        if (std::find(seen.begin(), seen.end(), place) != seen.end())
            continue;
        seen.push_back(place);
        const std::optional<QString> text = entryText(line);
        if (!text)
            return QStringList(); // unreadable this time: nothing from this database
        if (!text->isEmpty())
            texts.push_back(*text);
    }
    return texts;
}
