#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

// Builds a dictd database on disk as dictfmt lays it out: <name>.dict with the entries in
// the order given, <name>.index with one line per entry sorted the way dictd searches it,
// and optionally <name>.dict.dz made by the dictzip tool.
class DictdWriter {
public:
    enum class Order {
        folded, // the default: letters, digits and spaces only, without case
        bytes,  // "00-database-allchars" or "00-database-utf8": byte for byte
    };
    struct Entry {
        QByteArray headword;
        QByteArray text;       // conventionally starts with the headword on a line of its own
        QByteArray shown = {}; // a fourth column (the headword as written), when set
    };

    // Empty on success, else what went wrong.
    static QString write(const QString& folder, const QString& name, const QList<Entry>& entries,
                         Order order, bool dictzip = false);
};
