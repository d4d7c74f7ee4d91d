#include "platform/linux/screen/TesseractScreenText.h"

#include "logs/DiagnosticLog.h"
#include "platform/linux/screen/TesseractEngine.h"
#include "platform/linux/screen/TextImage.h"
#include "platform/linux/screen/WaylandSession.h"

#include <QCoroFuture>
#include <QDateTime>
#include <QFile>
#include <QPromise>
#include <condition_variable>
#include <dlfcn.h>
#include <malloc.h>
#include <mutex>
#include <optional>
#include <pthread.h>
#include <thread>

using namespace Qt::StringLiterals;
using Clock = std::chrono::steady_clock;
using Outcome = ScreenText::Outcome;

namespace {

// Tesseract cannot read less than a few pixels, and there are no words in it anyway.
constexpr int minSide = 4;

struct Request {
    QRect area;
    ScreenText::Layout layout;
    Clock::time_point deadline;
    std::shared_ptr<QPromise<Outcome>> promise;
};

void answer(const std::shared_ptr<QPromise<Outcome>>& promise, Outcome outcome) {
    promise->addResult(std::move(outcome));
    promise->finish();
}

} // namespace

struct TesseractScreenText::Worker {
    explicit Worker(ScreenGrabFactory grabber) : makeGrab(std::move(grabber)) {}

    // Shared with the main thread, under `mutex`.
    std::mutex mutex;
    std::condition_variable wake;
    std::optional<Request> waiting;
    bool wantEngine = false;
    bool dropEngine = false;
    bool quitting = false;
    std::thread thread;
    // Read by the engine while it recognises.
    std::atomic<bool> stop{false};

    // The recognition thread's own.
    ScreenGrabFactory makeGrab;
    ScreenGrab grab;
    std::unique_ptr<TesseractEngine> engine;
    bool loadTried = false;
    bool missingLogged = false;

    void start() {
        if (!thread.joinable())
            thread = std::thread([this] { run(); });
    }

    void run() {
        pthread_setname_np(pthread_self(), "text-recognition");
        readOnOneCore();
        std::unique_lock lock(mutex);
        for (;;) {
            wake.wait(lock, [this] {
                return quitting || dropEngine || waiting || (wantEngine && !loadTried);
            });
            if (quitting)
                break;
            if (dropEngine) {
                // Before any read that came after the release: that one loads it afresh.
                dropEngine = false;
                lock.unlock();
                engine.reset();
                // The model's buffers are many small blocks; hand the freed pages back.
                malloc_trim(0);
                lock.lock();
                loadTried = false;
            } else if (waiting) {
                Request request = std::move(*waiting);
                waiting.reset();
                lock.unlock();
                if (!loadTried)
                    loadEngine();
                answer(request.promise, handle(request));
                lock.lock();
            } else {
                lock.unlock();
                loadEngine();
                lock.lock();
            }
        }
        lock.unlock();
        engine.reset();
        grab = nullptr;
    }

    // Debian builds Tesseract with OpenMP, whose threads spin between the small parallel
    // steps of a line: on one thread a crop takes half the processor time (measured). No
    // parallel level may be active then; Tesseract is the process's only OpenMP user.
    // Looked up rather than linked, for a Tesseract built without OpenMP.
    static void readOnOneCore() {
        using SetLevels = void (*)(int);
        if (auto set =
                reinterpret_cast<SetLevels>(dlsym(RTLD_DEFAULT, "omp_set_max_active_levels")))
            set(0);
    }

    void loadEngine() {
        const QString folder = TesseractEngine::dataFolder();
        engine = TesseractEngine::load(folder);
        loadTried = true;
        if (!engine && !missingLogged) {
            missingLogged = true;
            DiagnosticLog::write(u"screen text: no English recognition data in %1"_s.arg(folder),
                                 QDateTime::currentDateTime());
        }
    }

    Outcome handle(const Request& request) {
        if (!engine)
            return ScreenText::Failure::engineMissing;
        if (!grab)
            grab = makeGrab();
        const std::optional<ScreenCapture> capture = grab(request.area);
        if (!capture)
            return ScreenText::Failure::captureFailed;
        ScreenText::Recognition recognition{capture->area, {}};
        if (capture->image.width() < minSide || capture->image.height() < minSide)
            return recognition;
        if (Clock::now() > request.deadline)
            return ScreenText::Failure::timedOut;
        const TextImage image =
            prepareTextImage(capture->image, request.layout == ScreenText::Layout::aroundPoint);
        TesseractEngine::Result result = engine->recognise(image, request.deadline, stop);
        if (const auto* stopped = std::get_if<TesseractEngine::Stopped>(&result))
            return *stopped == TesseractEngine::Stopped::deadline ? ScreenText::Failure::timedOut
                                                                  : ScreenText::Failure::superseded;
        const QPointF offset = capture->area.topLeft();
        for (const TesseractEngine::Word& word : std::get<QList<TesseractEngine::Word>>(result))
            recognition.words.append(ScreenText::Word{word.text, word.box.translated(offset),
                                                      word.confidence, word.line});
        dump(capture->image, image, recognition);
        return recognition;
    }

    // LF_RECOGNITION_DUMP names a folder that receives, for every read, the capture, the
    // image the engine read and the words it found: for diagnosing what a read missed.
    void dump(const QImage& capture, const TextImage& image,
              const ScreenText::Recognition& recognition) {
        static const QString folder = qEnvironmentVariable("LF_RECOGNITION_DUMP");
        if (folder.isEmpty())
            return;
        const QString stem = u"%1/%2"_s.arg(folder).arg(++dumped, 4, 10, QChar(u'0'));
        capture.save(stem + u"-capture.png"_s);
        image.gray.save(stem + u"-read.png"_s);
        QFile words(stem + u"-words.txt"_s);
        if (!words.open(QIODevice::WriteOnly))
            return;
        words.write(u"area %1,%2 %3x%4\n"_s.arg(recognition.area.x())
                        .arg(recognition.area.y())
                        .arg(recognition.area.width())
                        .arg(recognition.area.height())
                        .toUtf8());
        for (const ScreenText::Word& word : recognition.words)
            words.write(u"%1\t%2\tline %3\t%4,%5 %6x%7\n"_s.arg(word.text)
                            .arg(word.confidence, 0, 'f', 0)
                            .arg(word.line)
                            .arg(word.box.x())
                            .arg(word.box.y())
                            .arg(word.box.width())
                            .arg(word.box.height())
                            .toUtf8());
    }
    int dumped = 0;
};

TesseractScreenText::TesseractScreenText(ScreenGrabFactory grabber)
    : m_worker(std::make_shared<Worker>(std::move(grabber))) {}

TesseractScreenText::~TesseractScreenText() {
    std::optional<Request> dropped;
    {
        std::lock_guard lock(m_worker->mutex);
        m_worker->quitting = true;
        m_worker->stop = true;
        dropped.swap(m_worker->waiting);
    }
    m_worker->wake.notify_one();
    if (dropped)
        answer(dropped->promise, Failure::superseded);
    // The engine checks `stop` between words, so this waits for one word at most (or for a
    // load under way).
    if (m_worker->thread.joinable())
        m_worker->thread.join();
}

bool TesseractScreenText::hasEngine() const {
    return TesseractEngine::isInstalled(TesseractEngine::dataFolder());
}

void TesseractScreenText::prepare() {
    {
        std::lock_guard lock(m_worker->mutex);
        m_worker->wantEngine = true;
        m_worker->start();
    }
    m_worker->wake.notify_one();
}

void TesseractScreenText::release() {
    {
        std::lock_guard lock(m_worker->mutex);
        m_worker->wantEngine = false;
        m_worker->dropEngine = m_worker->thread.joinable();
    }
    m_worker->wake.notify_one();
}

QCoro::Task<Outcome> TesseractScreenText::read(QRect area, Layout layout,
                                               std::chrono::milliseconds limit) {
    if (isWaylandSession())
        co_return Failure::notAuthorized;
    auto promise = std::make_shared<QPromise<Outcome>>();
    promise->start();
    QFuture<Outcome> future = promise->future();
    std::optional<Request> dropped;
    {
        std::lock_guard lock(m_worker->mutex);
        dropped.swap(m_worker->waiting);
        m_worker->waiting = Request{area, layout, Clock::now() + limit, promise};
        m_worker->wantEngine = true;
        m_worker->start();
    }
    m_worker->wake.notify_one();
    if (dropped)
        answer(dropped->promise, Failure::superseded);
    co_return co_await future;
}
