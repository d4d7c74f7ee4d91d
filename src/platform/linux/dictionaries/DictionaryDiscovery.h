#pragma once

#include "base/TimerSource.h"
#include "platform/linux/dictionaries/StarDictDictdShelf.h"

#include <QFileSystemWatcher>
#include <QList>
#include <QObject>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>

// The installed dictionaries, listed by the shelf walking its folders on a worker thread.
// Once start() has been called, the folders are followed: the list is walked at once, and
// again only when a watched folder changes (or a folder to watch appeared during a walk) and
// the changes have settled; a caller that needs
// it before the first walk has finished waits for that walk. After each walk the worker also
// reads every dictionary's word lists. Unfollowed (a one-shot command), every call walks the
// folders on the caller's thread, since nothing would tell of a change. dictionaries() may
// be called from any thread; the rest belongs to the thread that made the object.
class DictionaryDiscovery final : public QObject {
    Q_OBJECT
public:
    DictionaryDiscovery(StarDictDictdShelf& shelf, StarDictDictdShelf::FolderSource folders,
                        TimerSource& timers,
                        std::chrono::milliseconds settle = std::chrono::milliseconds(500));
    ~DictionaryDiscovery() override;

    // Lists now, on a worker, and from then on follows the folders for changes.
    void start();
    QList<SystemDictionaryBridge::Handle> dictionaries();
    // How many walks have finished; for tests and benchmarks.
    int walks() const;

Q_SIGNALS:
    // A walk finished and its list is in place.
    void listed();

private:
    void walkOnWorker();
    void startWalkLocked();
    void walkSoon();
    void follow(const QStringList& folders);

    StarDictDictdShelf& m_shelf;
    StarDictDictdShelf::FolderSource m_folders;
    TimerSource& m_timers;
    std::chrono::milliseconds m_settle;
    std::atomic<bool> m_following = false;
    std::unique_ptr<QFileSystemWatcher> m_watcher;
    std::unique_ptr<TimerSource::Timer> m_settling;

    mutable std::mutex m_mutex;
    std::condition_variable m_walked;
    std::optional<QList<SystemDictionaryBridge::Handle>> m_listing;
    bool m_walking = false;
    bool m_walkAgain = false; // a change came in while walking
    int m_walks = 0;
};
