#pragma once

#include "platform/SafeFiles.h"
#include "settings/StoreWriter.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>
#include <functional>
#include <optional>

// The user's settings: a typed key-value store in the manner of the platform's user
// defaults. Values are bool, qint64 or double, QString, QByteArray (data), QVariantList and
// QVariantMap (nested of the same). Registered defaults live in memory only and answer for
// keys that hold no stored value.
//
// On Linux the file is $XDG_CONFIG_HOME/Quillet/defaults.json (default ~/.config): a JSON
// object, byte data as {"$data": "<base64>"}. Several processes share it (the agent, any
// number of commands, a person with an editor), so every change is a transaction under a
// lock on the folder: the file is read again if someone else replaced it, the change is
// applied to what it holds, and the whole is written back atomically and flushed. Keys this
// process did not change are never written from a stale copy. A file that cannot be read is
// kept aside under a time-stamped name before a fresh store is started, and the event log
// says so. A write that fails leaves the file as it was; the changes stay in memory (and
// are written with the next change or retry) and writeFailure() says why. Main thread only;
// the file itself may be written on a thread of its own (writeInBackground()).
class DefaultsStore : public QObject {
    Q_OBJECT
public:
    // The program's store. `noticeSink` receives event-log contents (defaults to EventLog).
    static DefaultsStore& shared();
    // The default file location for this OS, or nothing without a home folder.
    static std::optional<QString> defaultFilePath();

    // Loads `filePath` now (a missing file is an empty store). `notice` receives a content
    // line for the event log when the file had to be set aside.
    explicit DefaultsStore(QString filePath,
                           std::function<void(const QString& content)> notice = {},
                           QObject* parent = nullptr);
    // Finishes the write under way.
    ~DefaultsStore() override;

    const QString& filePath() const { return m_filePath; }

    void registerDefaults(const QVariantMap& defaults);

    // The stored value, else the registered default, else an invalid QVariant.
    QVariant value(const QString& key) const;
    // Only what is stored (no registered default).
    std::optional<QVariant> storedValue(const QString& key) const;
    bool contains(const QString& key) const { return m_values.contains(key); }
    QStringList storedKeys() const;
    QVariantMap storedValues() const { return m_values; }

    // Typed reads with a fallback when the value is absent or of another type. A bool read
    // does not accept numbers or texts ("true" is a text, not a bool).
    bool boolValue(const QString& key, bool fallback = false) const;
    std::optional<bool> boolIfPresent(const QString& key) const;
    double doubleValue(const QString& key, double fallback = 0) const;
    std::optional<double> doubleIfPresent(const QString& key) const;
    QString stringValue(const QString& key, const QString& fallback = {}) const;
    std::optional<QString> stringIfPresent(const QString& key) const;
    // A list whose every member is a text, or nothing.
    std::optional<QStringList> stringListIfPresent(const QString& key) const;
    std::optional<QByteArray> dataIfPresent(const QString& key) const;

    // Stores and writes at once; an invalid QVariant removes the key.
    void setValue(const QString& key, const QVariant& value);
    void remove(const QString& key);
    // Several changes, one write.
    void setValues(const QVariantMap& values);

    // Runs `change` on the store as the file holds it now, under the lock, and writes once
    // after it: a read-modify-write that no other process can interleave with. Changes made
    // by others are announced (valueChanged) before `change` runs, so objects that mirror a
    // key are current when it does. Nested calls join the outer one.
    void transaction(const std::function<void()>& change);
    // Reads the file again if someone else changed it and announces what differs. Changes
    // not yet written stay on top. A file that cannot be parsed is left for the next write
    // to keep aside: it may be half-way through a person's save.
    void refresh();
    // Refreshes whenever the file changes on disk (the agent, which lives long).
    void watchFile();

    // Changes stay in memory and are never written: commands that only read must not create
    // or rewrite the file.
    void holdWrites() { m_writesHeld = true; }
    bool writesHeld() const { return m_writesHeld; }

    // From now on each transaction hands its write, and the folder lock with it, to a thread
    // of its own and returns at once (the agent, whose main thread must not wait for the
    // disk). Its outcome is taken in on this thread: writeFailed, writesRecovered and
    // writeFinished are emitted from the event loop. A transaction started while a write is
    // under way waits for it first.
    void writeInBackground();
    bool writesInBackground() const { return m_writer != nullptr; }
    // Whether a write handed to the background is under way or its outcome not yet taken in.
    bool isWriting() const { return m_writing; }
    // Blocks until the write under way is on disk (or failed) and takes in its outcome.
    void waitForWrites();

    // Why the last write failed; nothing once every change is on disk.
    const std::optional<SafeFiles::Failure>& writeFailure() const { return m_writeFailure; }
    bool hasUnsavedChanges() const { return !m_pending.isEmpty(); }
    // Tries again to write what is only in memory.
    void retryUnsavedChanges();

Q_SIGNALS:
    void valueChanged(const QString& key);
    // A write failed after the previous one succeeded (once per run of failures).
    void writeFailed(const SafeFiles::Failure& failure);
    // Everything that was only in memory is on disk again.
    void writesRecovered();
    // Keys another process (or a person) changed in the file, after their valueChanged.
    void changedElsewhere(const QStringList& keys);
    // A background write is over and nothing else is under way: a transaction now runs
    // without waiting.
    void writeFinished();

private:
    enum class Unreadable { keepAside, leave };
    // Brings m_values in line with the file (plus what is pending) and returns the keys whose
    // value that changed.
    QStringList sync(Unreadable unreadable);
    void setAside();
    // Writes m_values, or hands the write to the background with `lock`.
    void write(std::unique_ptr<SafeFiles::FolderLock> lock);
    void takeOutcome(const StoreWriter::Outcome& outcome);
    // Takes in the outcome of a background write that has ended, if any.
    void takeFinishedWrite();
    // The background writer's notice, on this thread.
    void backgroundWriteEnded();
    // Remembers why changes stay in memory; the first failure of a run is announced.
    void noteFailure(const SafeFiles::Failure& failure);
    void announce(const QStringList& keys);
    void announceOthers(const QStringList& keys);

    QString m_filePath;
    std::function<void(const QString&)> m_notice;
    QVariantMap m_values;
    QVariantMap m_registered;
    // Changes of this process not yet on disk: key → value, or an invalid value for removal.
    QVariantMap m_pending;
    // The file as last read or written; nothing when there was none.
    std::optional<SafeFiles::Identity> m_seen;
    std::optional<SafeFiles::Failure> m_writeFailure;
    int m_transactionDepth = 0;
    QStringList m_changedInTransaction;
    bool m_writesHeld = false;
    // Set when an unreadable file could be neither renamed nor copied: it is never replaced.
    bool m_keepsOffDisk = false;
    class QFileSystemWatcher* m_watcher = nullptr;
    std::unique_ptr<StoreWriter> m_writer;
    bool m_writing = false;
};
