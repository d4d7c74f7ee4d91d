#include "platform/linux/dictionaries/DictionaryDiscovery.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QSet>
#include <QThreadPool>

namespace {

// Every folder whose change can add or remove a dictionary: each existing dictionary folder
// and the folders below it, and for one that does not exist yet, its nearest existing parent.
QStringList foldersToFollow(const StarDictDictdShelf::Folders& folders) {
    QStringList followed;
    QSet<QString> seen;
    const auto add = [&](const QString& path) {
        if (!seen.contains(path)) {
            seen.insert(path);
            followed.push_back(path);
        }
    };
    for (const QString& root : folders.starDict + folders.dictd) {
        QString existing = root;
        while (!QFileInfo(existing).isDir() && existing != u"/")
            existing = QFileInfo(existing).absolutePath();
        add(existing);
        if (existing != root)
            continue;
        QDirIterator below(root, QDir::Dirs | QDir::NoDotAndDotDot | QDir::Readable,
                           QDirIterator::Subdirectories);
        while (below.hasNext())
            add(below.next());
    }
    return followed;
}

} // namespace

DictionaryDiscovery::DictionaryDiscovery(StarDictDictdShelf& shelf,
                                         StarDictDictdShelf::FolderSource folders,
                                         TimerSource& timers, std::chrono::milliseconds settle)
    : m_shelf(shelf), m_folders(std::move(folders)), m_timers(timers), m_settle(settle) {}

DictionaryDiscovery::~DictionaryDiscovery() {
    std::unique_lock lock(m_mutex);
    m_walkAgain = false;
    m_walked.wait(lock, [this] { return !m_walking; });
}

void DictionaryDiscovery::start() {
    if (m_following)
        return;
    m_following = true;
    m_watcher = std::make_unique<QFileSystemWatcher>();
    connect(m_watcher.get(), &QFileSystemWatcher::directoryChanged, this,
            &DictionaryDiscovery::walkSoon);
    // Followed before the first walk, so that nothing installed meanwhile goes unseen.
    if (const QStringList folders = foldersToFollow(m_folders()); !folders.isEmpty())
        m_watcher->addPaths(folders);
    const std::lock_guard lock(m_mutex);
    startWalkLocked();
}

QList<SystemDictionaryBridge::Handle> DictionaryDiscovery::dictionaries() {
    std::unique_lock lock(m_mutex);
    if (m_following) {
        // The list the last walk left; before the first walk has ended, that walk's.
        m_walked.wait(lock, [this] { return m_listing.has_value(); });
        return *m_listing;
    }
    // Unfollowed folders (a one-shot command) may have changed since any earlier walk, and
    // nothing else runs meanwhile: walk them here, as the caller asked.
    lock.unlock();
    QList<SystemDictionaryBridge::Handle> listing = m_shelf.dictionaries();
    lock.lock();
    ++m_walks;
    return listing;
}

int DictionaryDiscovery::walks() const {
    const std::lock_guard lock(m_mutex);
    return m_walks;
}

void DictionaryDiscovery::startWalkLocked() {
    if (m_walking) {
        m_walkAgain = true;
        return;
    }
    m_walking = true;
    QThreadPool::globalInstance()->start([this] { walkOnWorker(); });
}

void DictionaryDiscovery::walkOnWorker() {
    for (;;) {
        QList<SystemDictionaryBridge::Handle> listing = m_shelf.dictionaries();
        // Only a followed discovery walks here.
        const QStringList followed = foldersToFollow(m_folders());
        {
            const std::lock_guard lock(m_mutex);
            m_listing = std::move(listing);
            ++m_walks;
            m_walked.notify_all();
        }
        // After the list is out, so lookups need not wait for it: the first lookup in a
        // dictionary would otherwise scan its whole index on the main thread.
        m_shelf.prepareAll();
        const std::lock_guard lock(m_mutex);
        if (m_walkAgain) {
            m_walkAgain = false;
            continue;
        }
        // Posted before the walk counts as over, so the object is still there to receive it.
        QMetaObject::invokeMethod(
            this,
            [this, followed] {
                follow(followed);
                Q_EMIT listed();
            },
            Qt::QueuedConnection);
        m_walking = false;
        m_walked.notify_all();
        return;
    }
}

void DictionaryDiscovery::walkSoon() {
    // Installing a dictionary writes several files; one walk after the last of them.
    m_settling = m_timers.start(m_settle, [this] {
        const std::lock_guard lock(m_mutex);
        startWalkLocked();
    });
}

void DictionaryDiscovery::follow(const QStringList& folders) {
    if (!m_watcher)
        return;
    // Watches that stay are kept, not renewed: a change they saw that waits to be read would
    // be dropped with them.
    const QStringList watched = m_watcher->directories();
    QStringList gone;
    for (const QString& folder : watched)
        if (!folders.contains(folder))
            gone.append(folder);
    QStringList added;
    for (const QString& folder : folders)
        if (!watched.contains(folder))
            added.append(folder);
    if (!gone.isEmpty())
        m_watcher->removePaths(gone);
    if (added.isEmpty())
        return;
    m_watcher->addPaths(added);
    // A folder that appeared during the walk was not watched while files went into it.
    walkSoon();
}
