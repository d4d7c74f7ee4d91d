#pragma once

#include <QDateTime>
#include <QList>
#include <QObject>
#include <QString>
#include <functional>
#include <memory>
#include <optional>

class DefaultsStore;
namespace VocabularyArchive {
class ListEncoder;
}

// The notebook: the automatic query history and the starred words and sentences, in one
// list, newest first, kept in the defaults store under "vocabulary2". Other processes change
// the same list (commands, a second program), so every change is made to the list as the
// store holds it at that moment, in one transaction of the store; a change made elsewhere
// is taken in as soon as the store sees it. When the store writes in the background (the
// agent), a lookup noted while a write is under way waits in memory and goes with the next
// write, made as soon as that one is done. Main thread only.
class Vocabulary : public QObject {
    Q_OBJECT
public:
    enum class Kind { word, sentence };
    enum class ExportFormat { anki, plain };
    enum class ExportScope { starred, all };

    // Where a sentence came from (video subtitles).
    struct Source {
        QString title;
        std::optional<QString> episode;
        std::optional<double> time; // seconds into the video
        std::optional<QString> url;
        std::optional<QString> app;

        // "title · episode · 1:02:03", leaving out what is absent or empty.
        QString caption() const;
        // "%d:%02d" below an hour, "%d:%02d:%02d" from an hour on.
        static QString clock(double seconds);
        bool operator==(const Source&) const = default;
    };

    struct Entry {
        Kind kind = Kind::word;
        QString text;
        std::optional<QString> translation;
        std::optional<QDateTime> firstDate;
        std::optional<QDateTime> lastDate;
        qint64 count = 0;
        bool starred = false;
        std::optional<Source> source;
        bool operator==(const Entry&) const = default;
    };

    struct Dependencies {
        DefaultsStore& store;
        // Whether automatic recording is on (the "historyEnabled" setting).
        std::function<bool()> recordingEnabled;
        // Receives event-log contents.
        std::function<void(const QString& content)> log;
        // Where the copy of an unreadable archive is written; nothing when unknown.
        std::optional<QString> folder;
        std::function<QDateTime()> now = [] {
            return QDateTime::currentDateTimeUtc();
        };
        // A short gloss for an entry without a translation (export back text).
        std::function<std::optional<QString>(const QString& text)> gloss;
    };

    static constexpr qsizetype historyLimit = 500;
    static constexpr qsizetype nearlyFullAt = 450;

    static Vocabulary& shared();
    explicit Vocabulary(Dependencies dependencies, QObject* parent = nullptr);
    ~Vocabulary() override;

    const QList<Entry>& entries() const { return m_entries; }
    QList<Entry> starred() const;
    qsizetype starredCount() const;
    bool isNearlyFull() const;

    // Notes a lookup of a word (when recording is on and the word is plain ASCII) and saves
    // it, unless a background write is under way (see above).
    void record(const QString& text);
    // Saves the lookups waiting in memory now (the agent, as it quits).
    void flush();
    // Returns the new state. A newly starred item goes to the top with a count of 0;
    // unstarring an item never looked up (count 0) removes it.
    bool toggleStar(const QString& text, Kind kind,
                    const std::optional<QString>& translation = std::nullopt,
                    const std::optional<Source>& source = std::nullopt);
    // Brings the item to the wanted state in one step (a toggle only where it differs), so
    // that another process starring the same item in between cannot turn it around.
    // Returns whether anything changed.
    bool setStarred(const QString& text, Kind kind, bool starred,
                    const std::optional<QString>& translation = std::nullopt,
                    const std::optional<Source>& source = std::nullopt);
    // `text` is normalised for `kind` first.
    std::optional<Entry> entry(const QString& text, Kind kind) const;
    // Removes the entry of the same kind and text; false when there is none.
    bool remove(const Entry& entry);
    // Both keep every starred entry.
    void clearRecords();
    void purgeIfDisabled();

    // One line per entry, each ending in "\n"; the back text is the translation, else the
    // gloss, else empty.
    QString exportText(ExportFormat format, ExportScope scope) const;

    // Whether the notebook keeps `key` in the store: its list, the lists of older versions it
    // carries forward, and the copies of a list it could not read.
    static bool ownsStoreKey(const QString& key);
    static QString normalize(const QString& text, Kind kind);
    static bool isRecordableWord(const QString& text);
    // "今天", "昨天", "M 月 d 日" this year, else "yyyy 年 M 月 d 日".
    static QString dayTitle(const QDateTime& date, const QDateTime& now);

Q_SIGNALS:
    void entriesChanged();

private:
    struct Lookup {
        QString word;
        QDateTime date;
    };
    qsizetype indexOf(const QString& normalizedText, Kind kind) const;
    void load();
    // Runs `change` on the list as stored now and saves it when `change` says it changed
    // something, all in one transaction of the store.
    void update(const std::function<bool()>& change);
    // Decodes the stored list again when it is not the one the entries came from.
    void adoptStored();
    // Decodes `stored` into the entries, with the lookups not yet saved on top.
    void adopt(const QVariant& stored);
    // Whether lookups noted in memory are to be saved now; drops them when recording was
    // switched off since.
    bool keepsUnsaved();
    void noteLookup(const Lookup& lookup);
    void adoptLegacy(const QList<Entry>& words, const QString& oldKey);
    void preserveUnreadable(const QVariant& stored, const QByteArray& raw, qsizetype total);
    // Stars or unstars the item in the list as it is; returns the new state.
    bool toggle(const QString& normalized, Kind kind, const std::optional<QString>& translation,
                const std::optional<Source>& source);
    void removeHistory(const QString& logLine);
    void evictIfNeeded();
    // Removes the oldest history beyond the limit; returns how many entries went.
    qsizetype evictOldest();
    void save();

    Dependencies m_deps;
    QList<Entry> m_entries;
    // The stored value the entries were decoded from.
    QVariant m_adopted;
    std::unique_ptr<VocabularyArchive::ListEncoder> m_encoder;
    // Noted in memory, in the entries, not yet in the store.
    QList<Lookup> m_unsaved;
};
