#include "harness/StarDictWriter.h"

#include <QDir>
#include <QFile>
#include <QHash>
#include <QProcess>
#include <algorithm>
#include <numeric>
#include <vector>
#include <zlib.h>

using namespace Qt::StringLiterals;

namespace {

// StarDict's order, written out independently of the reader: ASCII letters without case
// first, then the plain bytes.
bool sortsBefore(const QByteArray& a, const QByteArray& b) {
    const auto lower = [](char c) {
        return static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c);
    };
    for (qsizetype i = 0; i < std::min(a.size(), b.size()); ++i)
        if (lower(a[i]) != lower(b[i]))
            return lower(a[i]) < lower(b[i]);
    if (a.size() != b.size())
        return a.size() < b.size();
    return a < b;
}

void appendBigEndian(QByteArray& out, quint64 value, int bytes) {
    for (int shift = (bytes - 1) * 8; shift >= 0; shift -= 8)
        out += char((value >> shift) & 0xff);
}

bool writeFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

std::optional<QByteArray> gzipped(const QByteArray& bytes) {
    z_stream stream{};
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 16 + MAX_WBITS, 8,
                     Z_DEFAULT_STRATEGY) != Z_OK)
        return std::nullopt;
    QByteArray out(qsizetype(deflateBound(&stream, uLong(bytes.size()))) + 32, Qt::Uninitialized);
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.constData()));
    stream.avail_in = uInt(bytes.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = uInt(out.size());
    const int status = deflate(&stream, Z_FINISH);
    out.truncate(qsizetype(stream.total_out));
    deflateEnd(&stream);
    return status == Z_STREAM_END ? std::optional(out) : std::nullopt;
}

} // namespace

StarDictWriter& StarDictWriter::add(const QString& headword, const QString& text) {
    const char type = m_options.sameTypeSequence.size() == 1 ? m_options.sameTypeSequence[0] : 'm';
    return add(headword, QList<Part>{{type, text.toUtf8()}});
}

StarDictWriter& StarDictWriter::add(const QString& headword, QList<Part> parts) {
    m_entries.push_back({headword.toUtf8(), std::move(parts)});
    return *this;
}

StarDictWriter& StarDictWriter::addSynonym(const QString& synonym, const QString& headword) {
    m_synonyms.push_back({synonym.toUtf8(), headword.toUtf8()});
    return *this;
}

QByteArray StarDictWriter::encoded(const QList<Part>& parts) const {
    const bool sequenced = !m_options.sameTypeSequence.isEmpty();
    QByteArray out;
    for (qsizetype i = 0; i < parts.size(); ++i) {
        const Part& part = parts[i];
        const bool last = sequenced && i == parts.size() - 1;
        const bool text = part.type >= 'a' && part.type <= 'z';
        if (!sequenced)
            out += part.type;
        if (!text && !last)
            appendBigEndian(out, quint64(part.data.size()), 4);
        out += part.data;
        if (text && !last)
            out += '\0';
    }
    return out;
}

StarDictWriter::Result StarDictWriter::write(const QString& folder, const QString& stem) const {
    const QDir dir(folder);
    if (!dir.mkpath(u"."_s))
        return {{}, u"cannot create "_s + folder};
    const QString base = dir.filePath(stem);

    std::vector<qsizetype> order(std::size_t(m_entries.size()));
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [this](qsizetype a, qsizetype b) {
        return sortsBefore(m_entries[a].headword, m_entries[b].headword);
    });

    // Entry texts in the order they were added; the index in sorted order.
    QByteArray text;
    std::vector<std::pair<quint64, quint64>> places;
    for (const Entry& entry : m_entries) {
        const QByteArray data = encoded(entry.parts);
        places.push_back({quint64(text.size()), quint64(data.size())});
        text += data;
    }
    QByteArray index;
    for (const qsizetype at : order) {
        index += m_entries[at].headword;
        index += '\0';
        appendBigEndian(index, places[std::size_t(at)].first, m_options.offsetBits / 8);
        appendBigEndian(index, places[std::size_t(at)].second, 4);
    }

    QHash<QByteArray, quint32> positions; // of each headword's first entry in the index
    for (std::size_t i = order.size(); i-- > 0;)
        positions.insert(m_entries[order[i]].headword, quint32(i));
    std::vector<std::pair<QByteArray, quint32>> synonyms;
    for (const auto& [synonym, headword] : m_synonyms) {
        const auto found = positions.constFind(headword);
        if (found == positions.constEnd())
            return {{}, u"synonym of a missing headword: "_s + QString::fromUtf8(headword)};
        synonyms.push_back({synonym, *found});
    }
    std::stable_sort(synonyms.begin(), synonyms.end(),
                     [](const auto& a, const auto& b) { return sortsBefore(a.first, b.first); });
    QByteArray synonymFile;
    for (const auto& [synonym, target] : synonyms) {
        synonymFile += synonym;
        synonymFile += '\0';
        appendBigEndian(synonymFile, target, 4);
    }

    QByteArray info = "StarDict's dict ifo file\n";
    info += m_options.offsetBits == 64 ? "version=3.0.0\n" : "version=2.4.2\n";
    info += "bookname=" + m_options.bookname.toUtf8() + '\n';
    info += "wordcount=" + QByteArray::number(m_entries.size()) + '\n';
    if (!synonyms.empty())
        info += "synwordcount=" + QByteArray::number(qsizetype(synonyms.size())) + '\n';
    info += "idxfilesize=" + QByteArray::number(index.size()) + '\n';
    if (m_options.offsetBits == 64)
        info += "idxoffsetbits=64\n";
    if (!m_options.sameTypeSequence.isEmpty())
        info += "sametypesequence=" + m_options.sameTypeSequence + '\n';

    const QString ifoPath = base + u".ifo"_s;
    if (!writeFile(ifoPath, info) || !writeFile(base + u".dict"_s, text))
        return {{}, u"cannot write into "_s + folder};
    if (m_options.gzipIndex) {
        const auto packed = gzipped(index);
        if (!packed || !writeFile(base + u".idx.gz"_s, *packed))
            return {{}, u"cannot write the gzipped index"_s};
    } else if (!writeFile(base + u".idx"_s, index)) {
        return {{}, u"cannot write the index"_s};
    }
    if (!synonyms.empty() && !writeFile(base + u".syn"_s, synonymFile))
        return {{}, u"cannot write the synonyms"_s};
    if (m_options.dictzip) {
        QProcess dictzip;
        dictzip.start(u"dictzip"_s, {base + u".dict"_s});
        if (!dictzip.waitForFinished(120000) || dictzip.exitStatus() != QProcess::NormalExit ||
            dictzip.exitCode() != 0)
            return {{},
                    u"dictzip failed: "_s + QString::fromLocal8Bit(dictzip.readAllStandardError())};
    }
    return {ifoPath, {}};
}
