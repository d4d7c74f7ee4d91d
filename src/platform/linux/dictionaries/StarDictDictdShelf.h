#pragma once

#include "dictionary/formats/FileStamp.h"
#include "dictionary/formats/InstalledDictionary.h"
#include "platform/SystemDictionaryBridge.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

// The StarDict and dictd dictionaries found in a set of folders.
//
// Order: the StarDict folders in the order given, each searched through its subfolders
// with dictionaries sorted by their path within it (letter case aside), then the dictd
// folders, each sorted by database name. Identifiers are "stardict:<stem of the .ifo>" and
// "dictd:<stem of the .index>"; when two dictionaries share one, the first in that order
// wins, so a user's copy hides the system's.
//
// The folders are walked again on every listing (a few directory reads and stats), so a
// dictionary installed or removed shows up on the next call. Opened dictionaries are kept,
// keyed by their files' paths, sizes and modification times, and reopened when those change.
// A dictionary that cannot be read is left out, reported once per version of its files.
// Safe to call from any thread: one mutex guards everything.
class StarDictDictdShelf {
public:
    struct Folders {
        QStringList starDict;
        QStringList dictd;
    };
    using FolderSource = std::function<Folders()>;
    using Reporter = std::function<void(const QString& line)>;

    StarDictDictdShelf(FolderSource folders, Reporter report);
    ~StarDictDictdShelf();
    StarDictDictdShelf(const StarDictDictdShelf&) = delete;
    StarDictDictdShelf& operator=(const StarDictDictdShelf&) = delete;

    // $XDG_DATA_HOME/stardict/dic (default ~/.local/share), ~/.stardict/dic and
    // /usr/share/stardict/dic; /usr/share/dictd. Read from the environment on each call.
    static Folders standardFolders();
    // Appends an error line to the program's event log, on the thread that owns it.
    static void reportToEventLog(const QString& line);

    QList<SystemDictionaryBridge::Handle> dictionaries();
    // Every matching entry's text joined by a blank line; nothing for none or an empty word.
    // Reads every listed dictionary's word lists now, so no lookup pays for the first scan.
    // Meant for a worker thread.
    void prepareAll();
    std::optional<QString> definition(const QString& word, const QString& identifier);

private:
    enum class Format { starDict, dictd };
    struct Found {
        QString identifier;
        Format format = Format::starDict;
        QString path; // the .ifo or .index
        QString stem;
    };
    struct Shelved {
        std::vector<QByteArray> parts;                   // every part's path, present or not
        std::vector<std::optional<FileStamp>> stamps;    // of each part, when it was opened
        std::unique_ptr<InstalledDictionary> dictionary; // null when it cannot be read
    };

    std::vector<Found> discover() const;
    // Walks the folders and brings every dictionary's entry up to date. Expects m_mutex.
    QList<SystemDictionaryBridge::Handle> relist(QStringList& reports);
    // The opened dictionary for `found`, reopened if its files changed. A quick check looks
    // only at the parts it was opened with, not for parts that have since appeared.
    // Expects m_mutex.
    enum class Check { quick, full };
    InstalledDictionary* shelve(const Found& found, Check check, QStringList& reports);
    // One dictionary's entries for `word` (the mutex held); nothing when it cannot be read,
    // and a defect closes it.
    std::optional<QStringList> readLocked(const Found& listed, const QString& word,
                                          QStringList& reports);
    void reportOnce(const Found& found, const Shelved& version, const QString& reason,
                    QStringList& reports);

    FolderSource m_folders;
    Reporter m_report;
    std::mutex m_mutex;
    std::map<QString, Shelved> m_opened; // by path of the .ifo or .index
    QHash<QString, Found> m_listed;      // by identifier, as of the last listing
    QSet<QString> m_reported;            // path and stamps of each version reported
};
