// What Quillet adds to one translation round trip: LocalModelTranslationEngine::translate
// against a local model server that answers at once, next to a bare Qt HTTP POST of the same
// request to the same server. The server runs on a thread of its own, as a real one runs in
// a process of its own. The difference of the medians is the engine's overhead (prompt,
// JSON, time limits, cancellation hook, clean-up of the answer).

#include "LatencyCounters.h"
#include "harness/FakeModelServer.h"
#include "logs/EventLog.h"
#include "platform/linux/translation/LocalModelTranslationEngine.h"
#include "settings/DefaultsStore.h"
#include "settings/TranslationSettings.h"

#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QTemporaryDir>
#include <QThread>
#include <benchmark/benchmark.h>
#include <chrono>

using namespace Qt::StringLiterals;

namespace {

const QString kModel = u"qwen2.5:1.5b"_s;
const QString kSentence = u"The quick brown fox jumps over the lazy dog, and then it runs away."_s;

// One fake server for the whole run, answering on its own thread.
class ServerThread {
public:
    ServerThread() {
        m_server->installed = {kModel};
        m_server->loaded = {kModel};
        m_server->answer = [](const QString&) {
            return u"翻译：敏捷的棕色狐狸跳过了懒狗，然后跑开了。"_s;
        };
        m_server->moveToThread(&m_thread);
        m_thread.start();
        QMetaObject::invokeMethod(
            m_server, [this] { m_server->listen(); }, Qt::BlockingQueuedConnection);
        m_endpoint = m_server->endpoint();
    }
    ~ServerThread() {
        QMetaObject::invokeMethod(
            m_server, [this] { delete m_server; }, Qt::BlockingQueuedConnection);
        m_thread.quit();
        m_thread.wait();
    }
    const QString& endpoint() const { return m_endpoint; }

private:
    QThread m_thread;
    FakeModelServer* m_server = new FakeModelServer;
    QString m_endpoint;
};

ServerThread& server() {
    static ServerThread thread;
    return thread;
}

double microsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start)
        .count();
}

void BM_EngineTranslate(benchmark::State& state) {
    QTemporaryDir folder;
    DefaultsStore store(folder.filePath(u"defaults.json"_s));
    TranslationSettings settings(store);
    settings.setEndpoint(QUrl(server().endpoint()));
    EventLog log({}, false);
    LocalModelTranslationEngine engine(settings, log,
                                       LocalModelTranslationEngine::Timing::standard());
    QCoro::waitFor(engine.translate(kSentence, {})); // connection and first-use check

    std::vector<double> micros;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        const TranslationOutcome outcome = QCoro::waitFor(engine.translate(kSentence, {}));
        micros.push_back(microsSince(start));
        if (!std::holds_alternative<QString>(outcome))
            state.SkipWithError("translation failed");
    }
    reportLatencies(state, micros);
}

void BM_BareHttpPost(benchmark::State& state) {
    QNetworkAccessManager manager;
    manager.setProxy(QNetworkProxy::NoProxy);
    QNetworkRequest request(QUrl(server().endpoint() + u"/api/chat"_s));
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
    const QByteArray body =
        QJsonDocument(
            QJsonObject{{u"model"_s, kModel},
                        {u"messages"_s, QJsonArray{QJsonObject{{u"role"_s, u"user"_s},
                                                               {u"content"_s, kSentence}}}},
                        {u"stream"_s, false}})
            .toJson(QJsonDocument::Compact);
    const auto post = [&] {
        QNetworkReply* reply = manager.post(request, body);
        QEventLoop loop;
        QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
        loop.exec();
        const QByteArray answer = reply->readAll();
        reply->deleteLater();
        return answer;
    };
    post();

    std::vector<double> micros;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(post());
        micros.push_back(microsSince(start));
    }
    reportLatencies(state, micros);
}

BENCHMARK(BM_BareHttpPost)->Iterations(3'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_EngineTranslate)->Iterations(3'000)->Unit(benchmark::kMicrosecond);

} // namespace
