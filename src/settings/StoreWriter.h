#pragma once

#include "platform/SafeFiles.h"

#include <QString>
#include <QVariantMap>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

// Writes the settings file on a thread of its own, so that serialising the values, flushing
// them to the device and renaming the file cost the caller nothing. One write at a time:
// each runs under the folder lock its transaction took and releases it once the file is on
// disk, so the next transaction (which needs that lock) can never overtake it.
class StoreWriter {
public:
    struct Outcome {
        std::optional<SafeFiles::Failure> failure;
        // The file as written; nothing when the write failed.
        std::optional<SafeFiles::Identity> written;
    };

    // `done` runs on the writer's thread after each write, once its outcome can be taken and
    // before the folder lock is released.
    explicit StoreWriter(std::function<void()> done);
    // Finishes the write under way first.
    ~StoreWriter();
    StoreWriter(const StoreWriter&) = delete;
    StoreWriter& operator=(const StoreWriter&) = delete;

    // The write itself, on the calling thread; the caller holds the folder lock.
    static Outcome writeNow(const QString& path, const QVariantMap& values);

    // Hands over a write. The previous one must be finished (see wait()).
    void start(std::unique_ptr<SafeFiles::FolderLock> lock, QString path, QVariantMap values);
    // Blocks until no write is under way.
    void wait();
    // The outcome of the last write, once; nothing while it runs or when already taken.
    // It may come before wait() returns: the lock is released after it.
    std::optional<Outcome> take();

private:
    struct Job {
        std::unique_ptr<SafeFiles::FolderLock> lock;
        QString path;
        QVariantMap values;
    };
    void run();

    std::function<void()> m_done;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::optional<Job> m_job;
    bool m_busy = false;
    bool m_stopping = false;
    std::optional<Outcome> m_outcome;
    std::thread m_thread;
};
