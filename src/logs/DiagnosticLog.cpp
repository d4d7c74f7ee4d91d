#include "logs/DiagnosticLog.h"

#include "platform/PlatformPaths.h"

#include <QLocale>
#include <QStringList>
#include <QSysInfo>
#include <condition_variable>
#include <deque>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <thread>

using namespace Qt::StringLiterals;

namespace DiagnosticLog {
namespace {

struct Job {
    QString line;
    QDateTime date;
};

// Runs on the worker, with standard file I/O only: no Qt object lives on this thread, so it
// may still be writing while the application object goes away. Every failure drops the line
// and leaves the next write to start afresh.
void append(const Job& job) {
    const std::optional<QString> folder = directory();
    if (!folder)
        return;
    const QByteArray bytes = (timeStamp(job.date) + u' ' + job.line + u'\n').toUtf8();
    namespace fs = std::filesystem;
    const fs::path dir = folder->toStdString();
    std::error_code error;
    fs::create_directories(dir, error);
    if (error)
        return;
    const fs::path current = dir / currentFileName().toStdString();
    const auto size = fs::file_size(current, error);
    if (!error && size > static_cast<std::uintmax_t>(rotationBytes)) {
        const fs::path previous = dir / previousFileName().toStdString();
        fs::remove(previous, error);
        fs::rename(current, previous, error);
    }
    // Opened and closed per line, so moving the file aside for rotation is always safe.
    std::ofstream file(current, std::ios::binary | std::ios::app);
    if (file)
        file.write(bytes.constData(), bytes.size());
}

// One thread writes the lines in the order they were submitted. It starts with the first
// line and, when the program ends, finishes what was queued before it stops.
class Writer {
public:
    static Writer& instance() {
        static Writer writer;
        return writer;
    }

    void submit(Job job) {
        {
            std::lock_guard lock(m_mutex);
            m_jobs.push_back(std::move(job));
            ++m_submitted;
            if (!m_thread.joinable())
                m_thread = std::thread([this] { run(); });
        }
        m_wake.notify_one();
    }

    void flush() {
        std::unique_lock lock(m_mutex);
        const quint64 target = m_submitted;
        m_done.wait(lock, [&] { return m_handled >= target; });
    }

    ~Writer() {
        {
            std::lock_guard lock(m_mutex);
            m_stopping = true;
        }
        m_wake.notify_one();
        if (m_thread.joinable())
            m_thread.join();
    }

private:
    void run() {
        std::unique_lock lock(m_mutex);
        for (;;) {
            m_wake.wait(lock, [this] { return m_stopping || !m_jobs.empty(); });
            if (m_jobs.empty())
                return; // stopping, with nothing left to write
            Job job = std::move(m_jobs.front());
            m_jobs.pop_front();
            lock.unlock();
            append(job);
            lock.lock();
            ++m_handled;
            m_done.notify_all();
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::condition_variable m_done;
    std::deque<Job> m_jobs;
    quint64 m_submitted = 0;
    quint64 m_handled = 0;
    bool m_stopping = false;
    std::thread m_thread;
};

} // namespace

QString currentFileName() {
    return u"Quillet.log"_s;
}

QString previousFileName() {
    return u"Quillet.1.log"_s;
}

std::optional<QString> directory() {
    return PlatformPaths::logDirectory();
}

void write(const QString& line, const QDateTime& date) {
    Writer::instance().submit({line, date});
}

void flush() {
    Writer::instance().flush();
}

QString timeStamp(const QDateTime& date) {
    return QLocale::c().toString(date.toLocalTime(), u"yyyy-MM-dd HH:mm:ss.zzz"_s);
}

Environment Environment::current(const QString& permissions) {
    Environment environment;
    environment.appVersion = QStringLiteral(QUILLET_VERSION);
    environment.systemVersion =
        u"%1 %2 (%3 %4)"_s.arg(QSysInfo::productType(), QSysInfo::productVersion(),
                               QSysInfo::kernelType(), QSysInfo::kernelVersion());
    environment.displayVersion = QSysInfo::prettyProductName();
    environment.locale = QLocale::system().name();
    environment.hardwareModel = QSysInfo::currentCpuArchitecture();
    environment.permissions = permissions.isEmpty() ? u"未检查"_s : permissions;
    environment.oneLine = QStringList{u"Quillet "_s + environment.appVersion,
                                      environment.displayVersion,
                                      environment.systemVersion,
                                      environment.locale,
                                      environment.hardwareModel,
                                      u"权限："_s + environment.permissions}
                              .join(u"｜"_s);
    return environment;
}

} // namespace DiagnosticLog
