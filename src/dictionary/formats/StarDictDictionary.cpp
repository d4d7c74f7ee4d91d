#include "dictionary/formats/StarDictDictionary.h"

#include "dictionary/formats/MarkupText.h"
#include "platform/SafeFiles.h"

#include <QDir>
#include <QFileInfo>
#include <QtEndian>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// A description file is a few lines; anything much larger is not one.
constexpr qint64 kLargestInfo = qint64(1) << 20;
// Word lists are read into memory, not mapped, so a file rewritten on disk cannot pull pages
// from under a lookup. The largest lists in circulation (encyclopaedias of millions of
// titles) stay well below this.
constexpr qint64 kLargestList = qint64(256) << 20;

quint32 bigEndian32(const char* bytes) {
    return qFromBigEndian<quint32>(bytes);
}

QString existing(const QDir& folder, const QString& stem, std::initializer_list<QStringView> ends) {
    for (const QStringView end : ends) {
        const QString path = folder.filePath(stem + end.toString());
        if (QFileInfo::exists(path))
            return path;
    }
    return {};
}

bool isLower(char type) {
    return type >= 'a' && type <= 'z';
}

bool isUpper(char type) {
    return type >= 'A' && type <= 'Z';
}

// One part of an entry as text; empty for the kinds that are not text (sound, pictures,
// resource lists, WordNet's link data).
QString partText(char type, QByteArrayView data) {
    while (!data.isEmpty() && data.back() == '\0')
        data.chop(1);
    QString text = QString::fromUtf8(data);
    text.replace(u"\r\n"_s, u"\n"_s);
    switch (type) {
    case 'm': // plain text
    case 'l': // text in the writer's locale; UTF-8 in every dictionary still in circulation
    case 'y': // Chinese pinyin or Japanese kana
    case 'w': // MediaWiki source, readable as it is
        return text;
    case 't': // phonetic transcription
        return text.isEmpty() ? text : u'[' + text + u']';
    case 'g':
    case 'k': // KingSoft's XML, line breaks as written
        return MarkupText::toPlainText(text, MarkupText::Flavour::pango);
    case 'x':
        return MarkupText::toPlainText(text, MarkupText::Flavour::xdxf);
    case 'h':
        return MarkupText::toPlainText(text, MarkupText::Flavour::html);
    default:
        return {};
    }
}

} // namespace

StarDictDictionary::Files StarDictDictionary::filesBeside(const QString& infoPath) {
    const QFileInfo info(infoPath);
    const QDir folder = info.dir();
    const QString stem = info.fileName().chopped(4); // ".ifo"
    return Files{infoPath, existing(folder, stem, {u".idx", u".idx.gz"}),
                 existing(folder, stem, {u".dict.dz", u".dict"}),
                 existing(folder, stem, {u".syn"})};
}

OrDefect<std::unique_ptr<StarDictDictionary>> StarDictDictionary::open(const Files& files) {
    std::unique_ptr<StarDictDictionary> dictionary(new StarDictDictionary(files));
    auto infoBytes = SafeFiles::readRegularFile(files.info, kLargestInfo);
    if (const auto* failure = std::get_if<SafeFiles::Failure>(&infoBytes))
        return DictionaryDefect{u"说明文件（.ifo）无法读取："_s + failure->reason};
    auto info = StarDictInfo::parse(std::get<QByteArray>(infoBytes));
    if (const auto* defect = std::get_if<DictionaryDefect>(&info))
        return *defect;
    dictionary->m_info = std::get<StarDictInfo>(std::move(info));

    if (files.index.isEmpty())
        return DictionaryDefect{u"缺少索引文件（.idx）"_s};
    if (files.text.isEmpty())
        return DictionaryDefect{u"缺少正文文件（.dict）"_s};
    // Read only at the first lookup, but a FIFO or a device in its place is told now.
    const std::optional<SafeFiles::Identity> index = SafeFiles::identity(files.index);
    if (!index)
        return DictionaryDefect{u"索引文件（.idx）不是普通文件"_s};
    // A plain index can be checked against the description without reading it.
    if (!files.index.endsWith(u".gz"_s) && quint64(index->size) != dictionary->m_info.indexFileSize)
        return DictionaryDefect{u"索引文件大小与说明不符"_s};

    auto text = DictZipFile::open(files.text);
    if (const auto* defect = std::get_if<DictionaryDefect>(&text))
        return *defect;
    dictionary->m_text = std::get<std::unique_ptr<DictZipFile>>(std::move(text));
    return dictionary;
}

QString StarDictDictionary::name() const {
    if (!m_info.bookname.isEmpty())
        return m_info.bookname;
    return QFileInfo(m_files.info).fileName().chopped(4);
}

OrDefect<QByteArray> StarDictDictionary::listBytes(const QString& path, const QString& label) {
    if (path.endsWith(u".gz"_s)) {
        auto whole = DictZipFile::open(path);
        if (const auto* defect = std::get_if<DictionaryDefect>(&whole))
            return *defect;
        auto& reader = *std::get<std::unique_ptr<DictZipFile>>(whole);
        if (std::optional<QByteArray> bytes = reader.read(0, reader.size()))
            return *std::move(bytes);
        return DictionaryDefect{label + u"无法读取"_s};
    }
    auto bytes = SafeFiles::readRegularFile(path, kLargestList);
    if (const auto* failure = std::get_if<SafeFiles::Failure>(&bytes))
        return DictionaryDefect{label + u"无法读取："_s + failure->reason};
    return std::get<QByteArray>(std::move(bytes));
}

std::optional<DictionaryDefect> StarDictDictionary::load() {
    auto indexBytes = listBytes(m_files.index, u"索引文件（.idx）"_s);
    if (const auto* defect = std::get_if<DictionaryDefect>(&indexBytes))
        return *defect;
    m_indexBytes = std::get<QByteArray>(std::move(indexBytes));
    if (quint64(m_indexBytes.size()) != m_info.indexFileSize)
        return DictionaryDefect{u"索引文件大小与说明不符"_s};
    auto index = StarDictIndex::scan(m_indexBytes, m_info.wordCount, m_info.offsetBits / 8 + 4);
    if (const auto* defect = std::get_if<DictionaryDefect>(&index))
        return *defect;
    m_index = std::get<StarDictIndex>(std::move(index));

    const quint64 textSize = m_text->size();
    for (qsizetype record = 0; record < m_index->count(); ++record) {
        const auto [offset, size] = place(record);
        if (offset > textSize || size > textSize - offset)
            return DictionaryDefect{u"索引指向正文之外，正文可能不完整"_s};
    }

    // Synonyms are optional: a dictionary that declares none ignores a stray .syn file.
    if (m_files.synonyms.isEmpty() || m_info.synonymCount == 0)
        return std::nullopt;
    auto synonymBytes = listBytes(m_files.synonyms, u"同义词文件（.syn）"_s);
    if (const auto* defect = std::get_if<DictionaryDefect>(&synonymBytes))
        return *defect;
    m_synonymBytes = std::get<QByteArray>(std::move(synonymBytes));
    auto synonyms = StarDictIndex::scan(m_synonymBytes, m_info.synonymCount, 4);
    if (std::holds_alternative<DictionaryDefect>(synonyms))
        return DictionaryDefect{u"同义词文件（.syn）已损坏"_s};
    m_synonyms = std::get<StarDictIndex>(std::move(synonyms));
    for (qsizetype record = 0; record < m_synonyms->count(); ++record)
        if (bigEndian32(m_synonyms->tail(record)) >= m_info.wordCount)
            return DictionaryDefect{u"同义词文件（.syn）指向不存在的词条"_s};
    return std::nullopt;
}

std::pair<quint64, quint64> StarDictDictionary::place(qsizetype record) const {
    const char* tail = m_index->tail(record);
    if (m_info.offsetBits == 64)
        return {qFromBigEndian<quint64>(tail), bigEndian32(tail + 8)};
    return {bigEndian32(tail), bigEndian32(tail + 4)};
}

OrDefect<QStringList> StarDictDictionary::definitions(const QString& word) {
    if (!m_loaded) {
        m_defect = load();
        m_loaded = true;
    }
    if (m_defect)
        return *m_defect;
    if (word.isEmpty())
        return QStringList();

    const QByteArray key = word.toUtf8();
    std::vector<qsizetype> records;
    const auto [first, last] = m_index->equalRange(key);
    for (qsizetype record = first; record < last; ++record)
        records.push_back(record);
    if (m_synonyms) {
        const auto [firstSynonym, lastSynonym] = m_synonyms->equalRange(key);
        for (qsizetype synonym = firstSynonym; synonym < lastSynonym; ++synonym) {
            const auto record = qsizetype(bigEndian32(m_synonyms->tail(synonym)));
            if (std::find(records.begin(), records.end(), record) == records.end())
                records.push_back(record);
        }
    }

    std::vector<std::pair<quint64, quint64>> seen; // two headwords may share one entry
    QStringList texts;
    for (const qsizetype record : records) {
        const std::pair<quint64, quint64> where = place(record);
        if (std::find(seen.begin(), seen.end(), where) != seen.end())
            continue;
        seen.push_back(where);
        const std::optional<QByteArray> data = m_text->read(where.first, where.second);
        if (!data)
            return QStringList(); // unreadable this time: nothing from this dictionary
        const QString text = entryText(*data, m_info.sameTypeSequence).trimmed();
        if (!text.isEmpty())
            texts.push_back(text);
    }
    return texts;
}

QString StarDictDictionary::entryText(QByteArrayView data, QByteArrayView sameTypeSequence) {
    QStringList parts;
    qsizetype at = 0;
    const auto take = [&](char type, bool last) {
        QByteArrayView part;
        if (isLower(type)) {
            // Text parts end with a NUL, except the last of a same-type sequence.
            const qsizetype end = last ? -1 : data.indexOf('\0', at);
            part = data.sliced(at, (end < 0 ? data.size() : end) - at);
            at = end < 0 ? data.size() : end + 1;
        } else if (last) {
            part = data.sliced(at);
            at = data.size();
        } else {
            // Binary parts carry a 32-bit big-endian size, except the last of a sequence.
            if (data.size() - at < 4)
                return false;
            const quint64 size =
                std::min<quint64>(bigEndian32(data.data() + at), quint64(data.size() - at - 4));
            part = data.sliced(at + 4, qsizetype(size));
            at += 4 + qsizetype(size);
        }
        const QString text = partText(type, part).trimmed();
        if (!text.isEmpty())
            parts.push_back(text);
        return true;
    };

    if (!sameTypeSequence.isEmpty()) {
        for (qsizetype i = 0; i < sameTypeSequence.size() && at < data.size(); ++i) {
            const char type = sameTypeSequence[i];
            if ((!isLower(type) && !isUpper(type)) || !take(type, i == sameTypeSequence.size() - 1))
                break;
        }
    } else {
        while (at < data.size()) {
            const char type = data[at++];
            if ((!isLower(type) && !isUpper(type)) || !take(type, false))
                break;
        }
    }
    return parts.join(u'\n');
}
