#include "harness/DictdWriter.h"

#include <QFile>
#include <QProcess>
#include <algorithm>
#include <cctype>

using namespace Qt::StringLiterals;

namespace {

QByteArray base64(quint64 value) {
    static const char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    QByteArray out;
    do {
        out.prepend(digits[value & 63]);
        value >>= 6;
    } while (value);
    return out;
}

// dictd's default order, written out independently of the reader.
QByteArray foldedKey(const QByteArray& headword) {
    QByteArray key;
    for (const char c : headword) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x80 || std::isalnum(byte) || byte == ' ')
            key += char(std::tolower(byte));
    }
    return key;
}

} // namespace

QString DictdWriter::write(const QString& folder, const QString& name, const QList<Entry>& entries,
                           Order order, bool dictzip) {
    QByteArray text;
    QList<QByteArray> lines;
    for (const Entry& entry : entries) {
        QByteArray line = entry.headword + '\t' + base64(quint64(text.size())) + '\t' +
                          base64(quint64(entry.text.size()));
        if (!entry.shown.isEmpty())
            line += '\t' + entry.shown;
        lines.push_back(line);
        text += entry.text;
    }
    std::stable_sort(lines.begin(), lines.end(), [order](const QByteArray& a, const QByteArray& b) {
        const QByteArray x = a.left(a.indexOf('\t'));
        const QByteArray y = b.left(b.indexOf('\t'));
        return order == Order::folded ? foldedKey(x) < foldedKey(y) : x < y;
    });

    QFile index(folder + u'/' + name + u".index"_s);
    QFile dict(folder + u'/' + name + u".dict"_s);
    const QByteArray indexBytes = lines.join('\n') + '\n';
    if (!index.open(QIODevice::WriteOnly) || index.write(indexBytes) != indexBytes.size() ||
        !dict.open(QIODevice::WriteOnly) || dict.write(text) != text.size())
        return u"cannot write into "_s + folder;
    dict.close();
    if (dictzip && QProcess::execute(u"dictzip"_s, {dict.fileName()}) != 0)
        return u"dictzip failed on "_s + dict.fileName();
    return {};
}
