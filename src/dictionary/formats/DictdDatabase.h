#pragma once

#include "dictionary/formats/DictZipFile.h"
#include "dictionary/formats/InstalledDictionary.h"

#include <QByteArray>
#include <memory>
#include <optional>
#include <vector>

// A dictd database: <name>.index holds one line per headword ("headword<TAB>offset<TAB>
// length", numbers in dictd's base 64, sometimes a fourth column with the headword as
// written) and <name>.dict.dz (or .dict) the entries. The index is sorted the way dictd
// compares: by default letters, digits and spaces only, without case; byte for byte when the
// database says "00-database-allchars" or "00-database-utf8". The index is read into memory
// when the database is opened and searched there.
class DictdDatabase final : public InstalledDictionary {
public:
    struct Files {
        QString index;
        QString text;
    };
    static Files filesBeside(const QString& indexPath);

    static OrDefect<std::unique_ptr<DictdDatabase>> open(const Files& files);
    // The same from an index already read and a text already opened.
    static OrDefect<std::unique_ptr<DictdDatabase>>
    fromParts(const QString& databaseName, QByteArray index, std::unique_ptr<DictZipFile> text);

    // The database's own description ("00-database-short"), else its name.
    QString name() const override { return m_name; }
    // The database's name: the index file's stem, as dictd's configuration calls it.
    QString shortName() const override { return m_databaseName; }
    // The entries whose headword is the word apart from letter case; when there is none,
    // those that dictd itself would match (punctuation ignored too, unless all characters
    // count). Each entry's text is kept whole, its headword line included.
    OrDefect<QStringList> definitions(const QString& word) override;

    // A number in dictd's base 64; nothing for an empty or malformed one.
    static std::optional<quint64> decodeNumber(QByteArrayView digits);

private:
    struct Line {
        QByteArrayView key;   // the first column, which the order is about
        QByteArrayView shown; // the headword as written
        quint64 offset = 0;
        quint64 length = 0;
    };
    enum class Order { folded, bytes };

    DictdDatabase() = default;
    std::optional<Line> lineAt(qsizetype start) const;
    qsizetype lineEnd(qsizetype start) const;
    // The query as the index's order sees it.
    QByteArray searchKey(const QString& word) const;
    int compareKey(qsizetype lineStart, QByteArrayView key, Order order) const;
    // Every line whose key equals `key` in `order`.
    std::vector<Line> equalLines(QByteArrayView key, Order order) const;
    // The lines of a metadata headword such as "00-database-short", in either order.
    std::vector<Line> metadataLines(QByteArrayView headword) const;
    std::optional<QString> entryText(const Line& line);

    QByteArray m_indexBytes;
    QByteArrayView m_index; // over m_indexBytes
    std::unique_ptr<DictZipFile> m_text;
    Order m_order = Order::folded;
    bool m_allCharacters = false;
    bool m_caseSensitive = false;
    bool m_utf8 = false;
    QString m_name;
    QString m_databaseName;
};
