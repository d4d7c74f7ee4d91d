#include "dictionary/formats/StarDictInfo.h"

#include <QList>

using namespace Qt::StringLiterals;

namespace {

std::optional<quint64> number(const QByteArray& text) {
    bool ok = false;
    const quint64 value = text.trimmed().toULongLong(&ok);
    return ok ? std::optional(value) : std::nullopt;
}

} // namespace

OrDefect<StarDictInfo> StarDictInfo::parse(const QByteArray& bytes) {
    const DictionaryDefect unreadable{u"说明文件（.ifo）格式不对"_s};
    QByteArray text = bytes;
    if (text.startsWith("\xEF\xBB\xBF"))
        text.remove(0, 3);
    QList<QByteArray> lines = text.split('\n');
    if (lines.isEmpty() || lines.front().trimmed() != "StarDict's dict ifo file")
        return unreadable;

    StarDictInfo info;
    bool hasWordCount = false;
    bool hasIndexSize = false;
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const QByteArray& line = lines[i];
        const qsizetype equals = line.indexOf('=');
        if (equals <= 0)
            continue;
        const QByteArray key = line.left(equals).trimmed();
        const QByteArray value = line.mid(equals + 1).trimmed();
        if (key == "version") {
            info.version = QString::fromUtf8(value);
        } else if (key == "bookname") {
            info.bookname = QString::fromUtf8(value);
        } else if (key == "sametypesequence") {
            info.sameTypeSequence = value;
        } else if (key == "wordcount" || key == "synwordcount" || key == "idxfilesize" ||
                   key == "idxoffsetbits") {
            const std::optional<quint64> count = number(value);
            if (!count)
                return unreadable;
            if (key == "wordcount") {
                info.wordCount = *count;
                hasWordCount = true;
            } else if (key == "synwordcount") {
                info.synonymCount = *count;
            } else if (key == "idxfilesize") {
                info.indexFileSize = *count;
                hasIndexSize = true;
            } else if (*count == 32 || *count == 64) {
                info.offsetBits = int(*count);
            } else {
                return DictionaryDefect{u"说明文件（.ifo）里的偏移位数不是 32 或 64"_s};
            }
        }
    }
    if (!hasWordCount || !hasIndexSize)
        return DictionaryDefect{u"说明文件（.ifo）缺少词条数或索引大小"_s};
    if (!info.version.startsWith(u"2."_s) && !info.version.startsWith(u"3."_s))
        return DictionaryDefect{u"说明文件（.ifo）的版本不受支持"_s};
    return info;
}
