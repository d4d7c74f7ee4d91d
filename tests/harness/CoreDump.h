#pragma once

#include <QByteArrayView>
#include <QFile>
#include <QHash>
#include <QList>
#include <QString>
#include <memory>
#include <variant>

// A core dump of a running process, taken with gdb's gcore (the process stops for the while
// and runs on), mapped into memory. The process's mappings are noted just before, so that a
// place in the dump can be named.
class CoreDump {
public:
    // The dump written into `folder`, or why there is none.
    static std::variant<std::unique_ptr<CoreDump>, QString> take(qint64 pid, const QString& folder);
    ~CoreDump();

    QByteArrayView bytes() const { return m_bytes; }
    // Where a byte of the dump was in the process: "0x55d7901b9f04 [heap]+0x3cf04", or the
    // saved state of a thread ("the vector registers of thread 4711 (QXcbEventQueue)"): the
    // CPU's registers keep the last bytes a copy went through.
    QString placeOf(qsizetype offset) const;

private:
    struct Segment {
        quint64 offset; // in the dump
        quint64 address;
        quint64 size;
    };
    struct Mapping {
        quint64 start;
        quint64 end;
        QString name;
    };

    CoreDump() = default;

    qint64 m_pid = 0;
    QHash<qint32, QString> m_threadNames;
    QFile m_file;
    QByteArrayView m_bytes;
    QString noteAt(quint64 offset) const;

    QList<Segment> m_segments;
    QList<Mapping> m_mappings;
    Segment m_notes{};
};
