#include "settings/StoreWriter.h"

#include "settings/DefaultsJson.h"

StoreWriter::StoreWriter(std::function<void()> done)
    : m_done(std::move(done)), m_thread([this] { run(); }) {}

StoreWriter::~StoreWriter() {
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    m_thread.join();
}

StoreWriter::Outcome StoreWriter::writeNow(const QString& path, const QVariantMap& values) {
    // Under the lock no writer is at work: a temporary file here is a killed writer's.
    SafeFiles::removeLeftovers(path);
    if (std::optional<SafeFiles::Failure> failure =
            SafeFiles::writeAtomically(path, DefaultsJson::serialize(values)))
        return {.failure = std::move(failure)};
    return {.written = SafeFiles::identity(path)};
}

void StoreWriter::start(std::unique_ptr<SafeFiles::FolderLock> lock, QString path,
                        QVariantMap values) {
    {
        const std::lock_guard guard(m_mutex);
        Q_ASSERT(!m_busy);
        m_job = Job{std::move(lock), std::move(path), std::move(values)};
        m_busy = true;
        m_outcome.reset();
    }
    m_changed.notify_all();
}

void StoreWriter::wait() {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return !m_busy; });
}

std::optional<StoreWriter::Outcome> StoreWriter::take() {
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_outcome, std::nullopt);
}

void StoreWriter::run() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        // A job handed over before the stop is still written: nothing is lost on quit.
        m_changed.wait(lock, [this] { return m_stopping || m_job; });
        if (!m_job)
            return;
        Job job = std::move(*m_job);
        m_job.reset();
        lock.unlock();
        Outcome outcome = writeNow(job.path, job.values);
        lock.lock();
        m_outcome = std::move(outcome);
        lock.unlock();
        // Told while the folder lock is held, so whoever waits for the lock (or for this
        // write) finds the notice already on its way.
        if (m_done)
            m_done();
        job.lock.reset();
        lock.lock();
        m_busy = false;
        m_changed.notify_all();
    }
}
