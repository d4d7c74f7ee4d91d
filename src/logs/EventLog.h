#pragma once

#include <QDateTime>
#include <QList>
#include <QObject>
#include <QString>
#include <QUuid>
#include <functional>
#include <optional>

// The short, user-visible record of what the program did with each trigger. Each entry keeps
// a shown form (with the looked-up text) for the screen and a redacted form (character
// counts only) that is all the disk ever receives. Main thread only.
class EventLog : public QObject {
    Q_OBJECT
public:
    enum class Kind { trigger, reject, result, error };

    struct Entry {
        QUuid id;
        QDateTime date;
        Kind kind = Kind::trigger;
        QString text;     // shown form
        QString diskText; // redacted form
    };

    // One private segment as it sits in a content string.
    struct Segment {
        std::optional<qsizetype> count; // nothing when the count is not a number
        QString text;
    };

    // Receives each disk line ("[label] redacted content") with its entry's date.
    using DiskWriter = std::function<void(const QString& line, const QDateTime& date)>;

    static constexpr qsizetype limit = 60;
    static constexpr qsizetype segmentCharacters = 40;

    // The program's log: lines go to the diagnostic log, and to standard output when
    // LF_LOG_STDOUT is "1".
    static EventLog& shared();
    // Appends to the shared log from any thread: at once on the main thread, else queued to
    // it (the log belongs to the main thread; dictionary lookups may run on others).
    static void appendToShared(Kind kind, const QString& content);
    EventLog(DiskWriter diskWriter, bool echoesToStdout, QObject* parent = nullptr);

    static QString rawValue(Kind kind);
    static std::optional<Kind> kindFromRawValue(const QString& raw);
    static QString label(Kind kind);

    // Wraps user text for a content string: U+E000, its character count, U+E001, the text
    // (line breaks as "␍", cut to 40 characters plus "…"), U+E002.
    static QString privateSegment(QStringView text);
    static QString rewriteContent(QStringView content,
                                  const std::function<QString(const Segment&)>& rewrite);
    static QString shown(const Segment& segment);
    static QString redacted(const Segment& segment);
    static Entry makeEntry(Kind kind, QStringView content,
                           const QDateTime& date = QDateTime::currentDateTime());

    void append(Entry entry);
    void append(Kind kind, QStringView content) { append(makeEntry(kind, content)); }
    const QList<Entry>& entries() const { return m_entries; }

Q_SIGNALS:
    void entriesChanged();

private:
    QList<Entry> m_entries; // newest first
    DiskWriter m_diskWriter;
    bool m_echoesToStdout = false;
};
