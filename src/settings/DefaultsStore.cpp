#include "settings/DefaultsStore.h"

#include "logs/EventLog.h"
#include "platform/PlatformPaths.h"
#include "platform/SafeFiles.h"
#include "settings/DefaultsJson.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFileSystemWatcher>

using namespace Qt::StringLiterals;

namespace {

bool occupied(const QString& path) {
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

// "defaults.json.unreadable-20240305-090701", with "-2", "-3"… when that name is taken.
QString unusedAsideName(const QString& filePath) {
    return SafeFiles::unusedPath(filePath + u".unreadable-"_s +
                                 QDateTime::currentDateTime().toString(u"yyyyMMdd-HHmmss"_s));
}

// The largest settings file read: far beyond any real one, small enough to hold in memory.
constexpr qint64 kMaxFileBytes = 64 * 1024 * 1024;

bool sameValue(const QVariant& a, const QVariant& b) {
    return a.typeId() == b.typeId() && a == b;
}

bool isNumber(const QVariant& value) {
    return value.typeId() == QMetaType::Double || value.typeId() == QMetaType::LongLong;
}

} // namespace

std::optional<QString> DefaultsStore::defaultFilePath() {
    const std::optional<QString> folder = PlatformPaths::configDirectory();
    if (!folder)
        return std::nullopt;
    return *folder + u"/defaults.json"_s;
}

DefaultsStore& DefaultsStore::shared() {
    static DefaultsStore store(defaultFilePath().value_or(QString()), [](const QString& content) {
        EventLog::shared().append(EventLog::Kind::error, content);
    });
    return store;
}

DefaultsStore::DefaultsStore(QString filePath, std::function<void(const QString&)> notice,
                             QObject* parent)
    : QObject(parent), m_filePath(std::move(filePath)), m_notice(std::move(notice)) {
    // An unreadable file is kept aside by the first write, not here: a command that only
    // reads leaves everything as it found it.
    sync(Unreadable::leave);
}

QStringList DefaultsStore::sync(Unreadable unreadable) {
    if (m_filePath.isEmpty() || m_keepsOffDisk)
        return {};
    std::optional<SafeFiles::Identity> now = SafeFiles::identity(m_filePath);
    // m_values is always the file as last seen plus what is pending: unchanged file, no work.
    if (now == m_seen && (now || !occupied(m_filePath)))
        return {};
    QVariantMap disk;
    bool readable = !now && !occupied(m_filePath);
    if (now) {
        const auto read = SafeFiles::readRegularFile(m_filePath, kMaxFileBytes);
        if (const auto* bytes = std::get_if<QByteArray>(&read)) {
            if (std::optional<QVariantMap> parsed = DefaultsJson::parse(*bytes)) {
                disk = std::move(*parsed);
                readable = true;
            }
        } else if (std::get<SafeFiles::Failure>(read).kind == SafeFiles::Failure::Kind::missing) {
            readable = true; // removed since the look
            now.reset();
        }
    }
    if (!readable) {
        if (unreadable == Unreadable::leave)
            return {};
        setAside();
        if (m_keepsOffDisk)
            return {};
        now = SafeFiles::identity(m_filePath);
    }
    m_seen = now;

    for (auto it = m_pending.cbegin(); it != m_pending.cend(); ++it) {
        if (it->isValid())
            disk.insert(it.key(), *it);
        else
            disk.remove(it.key());
    }
    QStringList changed;
    for (auto it = disk.cbegin(); it != disk.cend(); ++it) {
        const auto held = m_values.constFind(it.key());
        if (held == m_values.cend() || !sameValue(*held, *it))
            changed.append(it.key());
    }
    for (auto it = m_values.cbegin(); it != m_values.cend(); ++it) {
        if (!disk.contains(it.key()))
            changed.append(it.key());
    }
    m_values = std::move(disk);
    return changed;
}

// The user's settings are never thrown away: what cannot be read is kept under another name
// (renamed, else copied) before a fresh store starts in its place.
void DefaultsStore::setAside() {
    const QString aside = unusedAsideName(m_filePath);
    QString content;
    // Only a regular file is copied: reading a FIFO would wait for a writer forever.
    if (QFile::rename(m_filePath, aside) ||
        (SafeFiles::identity(m_filePath) && QFile::copy(m_filePath, aside))) {
        content = u"设置｜设置文件无法读取，已另存为 %1，已恢复默认设置"_s.arg(
            QFileInfo(aside).fileName());
    } else {
        m_keepsOffDisk = true;
        m_writeFailure =
            SafeFiles::Failure{SafeFiles::Failure::Kind::other, u"设置文件无法读取，也无法另存"_s};
        content = u"设置｜设置文件无法读取，也无法另存；已恢复默认设置，改动只保留到退出"_s;
    }
    if (m_notice)
        m_notice(content);
}

DefaultsStore::~DefaultsStore() = default;

void DefaultsStore::write(std::unique_ptr<SafeFiles::FolderLock> lock) {
    if (m_pending.isEmpty() || m_keepsOffDisk)
        return;
    if (m_writer) {
        m_writer->start(std::move(lock), m_filePath, m_values);
        m_writing = true;
    } else {
        takeOutcome(StoreWriter::writeNow(m_filePath, m_values));
    }
}

void DefaultsStore::takeOutcome(const StoreWriter::Outcome& outcome) {
    if (outcome.failure) {
        noteFailure(*outcome.failure);
        return;
    }
    // Nothing changes while a write is under way (transactions wait for it), so everything
    // pending went into this one.
    m_pending.clear();
    m_seen = outcome.written;
    if (m_writeFailure) {
        m_writeFailure.reset();
        Q_EMIT writesRecovered();
    }
}

void DefaultsStore::writeInBackground() {
    if (m_writer)
        return;
    m_writer = std::make_unique<StoreWriter>([this] {
        QMetaObject::invokeMethod(this, &DefaultsStore::backgroundWriteEnded, Qt::QueuedConnection);
    });
}

void DefaultsStore::waitForWrites() {
    if (!m_writer)
        return;
    m_writer->wait();
    takeFinishedWrite();
}

void DefaultsStore::takeFinishedWrite() {
    if (!m_writer)
        return;
    if (const std::optional<StoreWriter::Outcome> outcome = m_writer->take()) {
        m_writing = false;
        takeOutcome(*outcome);
    }
}

void DefaultsStore::backgroundWriteEnded() {
    takeFinishedWrite();
    // A transaction may have handed over another write since; its own notice follows.
    if (isWriting())
        return;
    // What others wrote while our write held the file is taken in now.
    refresh();
    Q_EMIT writeFinished();
}

void DefaultsStore::noteFailure(const SafeFiles::Failure& failure) {
    const bool first = !m_writeFailure;
    m_writeFailure = failure;
    if (first)
        Q_EMIT writeFailed(failure);
}

void DefaultsStore::transaction(const std::function<void()>& change) {
    if (m_transactionDepth > 0) {
        change();
        return;
    }
    // A write under way holds the folder lock until the file is on disk.
    waitForWrites();
    std::unique_ptr<SafeFiles::FolderLock> lock;
    std::optional<SafeFiles::Failure> lockFailure;
    if (!m_writesHeld && !m_filePath.isEmpty() && !m_keepsOffDisk) {
        lock = std::make_unique<SafeFiles::FolderLock>(QFileInfo(m_filePath).absolutePath());
        if ((lockFailure = lock->failure()))
            lock.reset();
    }
    ++m_transactionDepth;
    // Others' changes are announced first, so mirrors of a key are current for `change`.
    announceOthers(sync(lock ? Unreadable::keepAside : Unreadable::leave));
    change();
    --m_transactionDepth;
    // The write releases the lock, here or on the background writer's thread.
    if (lock)
        write(std::move(lock));
    else if (lockFailure && !m_pending.isEmpty())
        noteFailure(*lockFailure);
    announce(std::exchange(m_changedInTransaction, {}));
}

void DefaultsStore::refresh() {
    if (m_transactionDepth > 0)
        return;
    takeFinishedWrite();
    // Our own write is replacing the file: it is read again once that is done.
    if (isWriting())
        return;
    announceOthers(sync(Unreadable::leave));
}

void DefaultsStore::retryUnsavedChanges() {
    if (!m_pending.isEmpty())
        transaction([] {});
}

void DefaultsStore::watchFile() {
    if (m_watcher || m_filePath.isEmpty())
        return;
    const QString folder = QFileInfo(m_filePath).absolutePath();
    QDir().mkpath(folder);
    m_watcher = new QFileSystemWatcher(this);
    m_watcher->addPath(folder);
    // The folder tells of a file replaced by a rename; the file itself of an edit in place.
    const auto follow = [this] {
        if (QFileInfo::exists(m_filePath) && !m_watcher->files().contains(m_filePath))
            m_watcher->addPath(m_filePath);
        refresh();
    };
    connect(m_watcher, &QFileSystemWatcher::directoryChanged, this, follow);
    connect(m_watcher, &QFileSystemWatcher::fileChanged, this, follow);
    follow();
}

void DefaultsStore::announceOthers(const QStringList& keys) {
    if (keys.isEmpty())
        return;
    announce(keys);
    Q_EMIT changedElsewhere(keys);
}

void DefaultsStore::announce(const QStringList& keys) {
    QStringList unique = keys;
    unique.removeDuplicates();
    for (const QString& key : std::as_const(unique))
        Q_EMIT valueChanged(key);
}

void DefaultsStore::registerDefaults(const QVariantMap& defaults) {
    for (auto it = defaults.begin(); it != defaults.end(); ++it) {
        QVariant value = DefaultsJson::normalized(*it);
        if (value.isValid())
            m_registered.insert(it.key(), std::move(value));
    }
}

QVariant DefaultsStore::value(const QString& key) const {
    const auto stored = m_values.constFind(key);
    return stored != m_values.cend() ? *stored : m_registered.value(key);
}

std::optional<QVariant> DefaultsStore::storedValue(const QString& key) const {
    const auto stored = m_values.constFind(key);
    if (stored == m_values.cend())
        return std::nullopt;
    return *stored;
}

QStringList DefaultsStore::storedKeys() const {
    return m_values.keys();
}

bool DefaultsStore::boolValue(const QString& key, bool fallback) const {
    return boolIfPresent(key).value_or(fallback);
}

std::optional<bool> DefaultsStore::boolIfPresent(const QString& key) const {
    const QVariant v = value(key);
    if (v.typeId() != QMetaType::Bool)
        return std::nullopt;
    return v.toBool();
}

double DefaultsStore::doubleValue(const QString& key, double fallback) const {
    return doubleIfPresent(key).value_or(fallback);
}

std::optional<double> DefaultsStore::doubleIfPresent(const QString& key) const {
    const QVariant v = value(key);
    if (!isNumber(v))
        return std::nullopt;
    return v.toDouble();
}

QString DefaultsStore::stringValue(const QString& key, const QString& fallback) const {
    return stringIfPresent(key).value_or(fallback);
}

std::optional<QString> DefaultsStore::stringIfPresent(const QString& key) const {
    const QVariant v = value(key);
    if (v.typeId() != QMetaType::QString)
        return std::nullopt;
    return v.toString();
}

std::optional<QStringList> DefaultsStore::stringListIfPresent(const QString& key) const {
    const QVariant v = value(key);
    if (v.typeId() != QMetaType::QVariantList)
        return std::nullopt;
    QStringList texts;
    for (const QVariant& member : v.toList()) {
        if (member.typeId() != QMetaType::QString)
            return std::nullopt;
        texts.append(member.toString());
    }
    return texts;
}

std::optional<QByteArray> DefaultsStore::dataIfPresent(const QString& key) const {
    const QVariant v = value(key);
    if (v.typeId() != QMetaType::QByteArray)
        return std::nullopt;
    return v.toByteArray();
}

void DefaultsStore::setValue(const QString& key, const QVariant& value) {
    setValues({{key, value}});
}

void DefaultsStore::remove(const QString& key) {
    setValues({{key, QVariant()}});
}

void DefaultsStore::setValues(const QVariantMap& values) {
    transaction([this, &values] {
        for (auto it = values.begin(); it != values.end(); ++it) {
            if (!it->isValid()) {
                if (m_values.remove(it.key()) > 0) {
                    m_pending.insert(it.key(), QVariant());
                    m_changedInTransaction.append(it.key());
                }
                continue;
            }
            QVariant value = DefaultsJson::normalized(*it);
            if (!value.isValid()) {
                qWarning("DefaultsStore: %s holds a type that cannot be stored",
                         qPrintable(it.key()));
                continue;
            }
            const auto stored = m_values.constFind(it.key());
            if (stored != m_values.cend() && sameValue(*stored, value))
                continue;
            m_values.insert(it.key(), value);
            m_pending.insert(it.key(), std::move(value));
            m_changedInTransaction.append(it.key());
        }
    });
}
