#include "platform/linux/translation/LocalModelTranslationEngine.h"

#include "core/LookupEngine.h"
#include "dictionary/BundledDictionary.h"
#include "harness/FakeModelServer.h"
#include "harness/FixtureDatabase.h"
#include "harness/QtPrinters.h"
#include "settings/DefaultsStore.h"
#include "settings/EventLog.h"
#include "settings/TranslationSettings.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTimer>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

using Api = TranslationSettings::Api;
using Misbehaviour = FakeModelServer::Misbehaviour;
using Status = TranslationAssetStatus;

const QString kModel = u"qwen2.5:1.5b"_s;
const QString kTimedOut = u"翻译超时，请稍后再试"_s;
const QString kDropped = u"翻译请求已取消"_s;
const QString kUnavailable = u"翻译服务不可用"_s;
const QString kFirstUse = u"首次使用，正在准备英中语言包（可能超过 30 秒）"_s;

// Short limits so the slow cases end in a fraction of a second.
LocalModelTranslationEngine::Timing testTiming() {
    return {.limits = {.quick = {.connect = 2s, .total = 2s},
                       .chat = {.connect = 2s, .total = 500ms},
                       .pull = {.connect = 2s, .total = 10s, .stall = 300ms}},
            .noticeWhenUnloaded = 50ms,
            .noticeWhenUnknown = 150ms};
}

QByteArray chatPath(Api api) {
    return api == Api::ollama ? "/api/chat" : "/v1/chat/completions";
}

const char* apiName(Api api) {
    return api == Api::ollama ? "ollama" : "openai";
}

// A port on which nothing listens.
quint16 closedPort() {
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

// Turns the event loop until `done` holds or `limit` passes.
bool waitUntil(const std::function<bool()>& done, std::chrono::milliseconds limit = 2s) {
    QElapsedTimer clock;
    clock.start();
    while (!done() && clock.elapsed() < limit.count()) {
        QEventLoop loop;
        QTimer::singleShot(5ms, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return done();
}

QString failureText(const TranslationOutcome& outcome) {
    if (const auto* failure = std::get_if<TranslationFailure>(&outcome))
        return failure->message;
    if (const auto* text = std::get_if<QString>(&outcome))
        return u"<translated: "_s + *text + u">"_s;
    return u"<cancelled>"_s;
}

class LocalModelTranslationEngineTest : public testing::Test {
protected:
    QTemporaryDir dir;
    DefaultsStore store{dir.filePath(u"defaults.json"_s)};
    TranslationSettings settings{store};
    EventLog log{[](const QString&, const QDateTime&) {}, false};
    FakeModelServer server;
    LocalModelTranslationEngine engine{settings, log, testTiming()};

    void SetUp() override {
        ASSERT_TRUE(server.listen());
        server.installed = {kModel};
        use(Api::ollama);
    }

    void use(Api api, const QString& endpoint = {}) {
        settings.setApi(api);
        settings.setEndpoint(QUrl(endpoint.isEmpty() ? server.endpoint() : endpoint));
        settings.setModel(kModel);
    }

    TranslationOutcome translate(const QString& text, CancellationToken token = {}) {
        return QCoro::waitFor(engine.translate(text, token));
    }
    Status refreshed() {
        QCoro::waitFor(engine.refreshAssetStatus());
        return engine.assetStatus();
    }
    QStringList logLines() const {
        QStringList lines;
        for (const EventLog::Entry& entry : log.entries())
            lines.prepend(entry.text);
        return lines;
    }
};

} // namespace

TEST_F(LocalModelTranslationEngineTest, AssetStatusFollowsWhatTheServerLists) {
    struct Case {
        const char* name;
        Api api;
        QStringList installed;
        QString wanted;
        Misbehaviour listing = Misbehaviour::none;
        Status expected;
    };
    const QList<Case> cases = {
        {"ollama has it", Api::ollama, {kModel, u"llama3:8b"_s}, kModel, {}, Status::installed},
        {"ollama lacks it",
         Api::ollama,
         {u"llama3:8b"_s},
         kModel,
         {},
         Status::supportedNotDownloaded},
        {"bare name is :latest", Api::ollama, {u"phi3:latest"_s}, u"phi3"_s, {}, Status::installed},
        {"openai has it", Api::openAi, {kModel}, kModel, {}, Status::installed},
        {"llama.cpp file path",
         Api::openAi,
         {u"/models/Qwen2.5-1.5B-Instruct.gguf"_s},
         u"qwen2.5-1.5b-instruct"_s,
         {},
         Status::installed},
        {"openai lacks it", Api::openAi, {}, kModel, {}, Status::supportedNotDownloaded},
        {"listing is not json",
         Api::ollama,
         {kModel},
         kModel,
         Misbehaviour::garbage,
         Status::unsupported},
        {"listing fails",
         Api::openAi,
         {kModel},
         kModel,
         Misbehaviour::httpError,
         Status::unsupported},
        {"not http", Api::ollama, {kModel}, kModel, Misbehaviour::notHttp, Status::unsupported},
    };
    for (const Case& c : cases) {
        server.installed = c.installed;
        server.routes.clear();
        server.routes.insert(c.api == Api::ollama ? "/api/tags" : "/v1/models", {c.listing});
        use(c.api);
        settings.setModel(c.wanted);
        EXPECT_EQ(refreshed(), c.expected) << c.name;
    }

    use(Api::ollama, u"http://127.0.0.1:%1"_s.arg(closedPort()));
    EXPECT_EQ(refreshed(), Status::unsupported) << "nothing listening";

    // An OpenAI endpoint given with its /v1 already on.
    server.installed = {kModel};
    use(Api::openAi, server.endpoint() + u"/v1"_s);
    EXPECT_EQ(refreshed(), Status::installed);
}

TEST_F(LocalModelTranslationEngineTest, StatusChangeIsSignalledOncePerChange) {
    QSignalSpy changes(&engine, &TranslationEngine::assetStatusChanged);
    refreshed();
    refreshed();
    server.installed.clear();
    refreshed();
    ASSERT_EQ(changes.size(), 2);
    EXPECT_EQ(changes[0][0].value<Status>(), Status::installed);
    EXPECT_EQ(changes[1][0].value<Status>(), Status::supportedNotDownloaded);
}

TEST_F(LocalModelTranslationEngineTest, KeepsOnlyTheTranslationInBothProtocols) {
    struct Case {
        QString source;
        QString answer;
        std::optional<QString> expected; // nothing: a failure
    };
    const QList<Case> cases = {
        {u"Hello, world."_s, u"你好，世界。"_s, u"你好，世界。"_s},
        {u"Hello, world."_s, u"<think>\nThe user wants Chinese.\n</think>\n\n你好，世界。"_s,
         u"你好，世界。"_s},
        {u"Hello, world."_s, u"The user wants Chinese.</think>你好，世界。"_s, u"你好，世界。"_s},
        {u"Hello, world."_s, u"<think>still thinking about it"_s, std::nullopt},
        {u"Hello, world."_s, u"翻译：你好，世界。"_s, u"你好，世界。"_s},
        {u"Hello, world."_s, u"**Translation:** “你好，世界。”"_s, u"你好，世界。"_s},
        {u"Hello, world."_s, u"```\n你好，世界。\n```"_s, u"你好，世界。"_s},
        {u"Hello, world."_s, u"Hello, world.\n你好，世界。"_s, u"你好，世界。"_s},
        {u"Hello, world."_s, u"以下是翻译：\n\n「你好，世界。」"_s, u"你好，世界。"_s},
        {u"Hello, world."_s, u"你好，世界。\n\n注：这是常见的问候语。"_s, u"你好，世界。"_s},
        {u"Hello, world."_s, u"你好，世界。\n(Nǐ hǎo, shìjiè.)"_s, u"你好，世界。"_s},
        {u"Hello, world."_s, u"你好，世界。<|im_end|>"_s, u"你好，世界。"_s},
        {u"He said “yes” and “no”."_s, u"“是”和“否”"_s, u"“是”和“否”"_s},
        {u"\"Stop,\" she said."_s, u"“停下，”她说。"_s, u"“停下，”她说。"_s},
        {u"Translation: the act of translating."_s, u"翻译：翻译的行为。"_s,
         u"翻译：翻译的行为。"_s},
        {u"First line.\nSecond line."_s, u"First line.\n第一行。\nSecond line.\n第二行。"_s,
         u"第一行。\n第二行。"_s},
        {u"Ingredients:\nflour and water"_s, u"配料：\n面粉和水"_s, u"配料：\n面粉和水"_s},
        {u"I use Python every day."_s, u"我每天都用 Python。"_s, u"我每天都用 Python。"_s},
        {u"It is 3:15 now."_s, u"现在是 3:15。"_s, u"现在是 3:15。"_s},
        {u"The cat sat on the mat."_s, u"The cat sat on the mat."_s, std::nullopt},
        {u"The cat sat on the mat."_s, u"Sorry, I cannot help with that."_s, std::nullopt},
        {u"The cat sat on the mat."_s, u"   \n  "_s, std::nullopt},
        {u"Qwzx"_s, u"qwzx."_s, u"qwzx"_s}, // a word given back is passed on
        {u"Qwzx"_s, u"weevil"_s, std::nullopt},
    };
    for (const Api api : {Api::ollama, Api::openAi}) {
        use(api);
        for (const Case& c : cases) {
            server.answer = [&c](const QString&) {
                return c.answer;
            };
            const TranslationOutcome outcome = translate(c.source);
            const QString got = failureText(outcome);
            if (c.expected)
                EXPECT_EQ(got, u"<translated: "_s + *c.expected + u">"_s)
                    << apiName(api) << ": " << c.answer.toStdString();
            else
                EXPECT_EQ(got, kUnavailable) << apiName(api) << ": " << c.answer.toStdString();
        }
        // What was asked: the text alone as the user's message, the model, a fixed sampling.
        const FakeModelServer::Request& last = server.requests.last();
        EXPECT_EQ(last.path, chatPath(api));
        EXPECT_EQ(last.json().value(u"model"_s).toString(), kModel);
        EXPECT_EQ(last.message(u"user"_s), cases.last().source);
        EXPECT_TRUE(last.message(u"system"_s).contains(u"Simplified Chinese"_s));
        EXPECT_FALSE(last.json().value(u"stream"_s).toBool(true));
    }
}

TEST_F(LocalModelTranslationEngineTest, EachFailureEndsInItsTextAndTeachesTheState) {
    struct Case {
        const char* name;
        Misbehaviour chat;
        QString text;
        Status after;
    };
    const QList<Case> cases = {
        {"server hangs", Misbehaviour::hang, kTimedOut, Status::installed},
        {"dropped mid-answer", Misbehaviour::dropMidBody, kDropped, Status::installed},
        {"closed without answering", Misbehaviour::closeAtOnce, kUnavailable, Status::installed},
        {"not http", Misbehaviour::notHttp, kUnavailable, Status::installed},
        {"garbage body", Misbehaviour::garbage, kUnavailable, Status::installed},
        {"http error", Misbehaviour::httpError, kUnavailable, Status::installed},
    };
    for (const Api api : {Api::ollama, Api::openAi}) {
        for (const Case& c : cases) {
            // A fresh engine knows nothing yet: a failure asks the server what it has.
            LocalModelTranslationEngine fresh(settings, log, testTiming());
            use(api);
            server.routes = {{chatPath(api), {c.chat}}};
            QElapsedTimer clock;
            clock.start();
            const TranslationOutcome outcome =
                QCoro::waitFor(fresh.translate(u"The cat sat on the mat."_s, {}));
            EXPECT_EQ(failureText(outcome), c.text) << apiName(api) << ": " << c.name;
            EXPECT_EQ(fresh.assetStatus(), c.after) << apiName(api) << ": " << c.name;
            EXPECT_LT(clock.elapsed(), 2'000) << apiName(api) << ": " << c.name;
        }
        server.routes.clear();

        use(api);
        server.answer = [](const QString& text) {
            return text;
        };
        EXPECT_EQ(failureText(translate(u"The cat sat on the mat."_s)), kUnavailable)
            << apiName(api) << ": an English answer is no translation";
        server.answer = [](const QString&) {
            return u"猫坐在垫子上。"_s;
        };

        server.installed.clear();
        EXPECT_EQ(failureText(translate(u"The cat sat on the mat."_s)), kUnavailable);
        EXPECT_EQ(engine.assetStatus(), Status::supportedNotDownloaded) << apiName(api);
        server.installed = {kModel};

        use(api, u"http://127.0.0.1:%1"_s.arg(closedPort()));
        EXPECT_EQ(failureText(translate(u"The cat sat on the mat."_s)), kUnavailable);
        EXPECT_EQ(engine.assetStatus(), Status::unsupported) << apiName(api);
    }
}

TEST_F(LocalModelTranslationEngineTest, CancellingAbortsTheRequestAtOnce) {
    for (const Api api : {Api::ollama, Api::openAi}) {
        use(api);
        refreshed();
        server.routes = {{chatPath(api), {Misbehaviour::hang}}};
        const int closedBefore = server.closedConnections();
        CancellationToken token;
        QTimer::singleShot(50ms, [token] { token.cancel(); });
        QElapsedTimer clock;
        clock.start();
        const TranslationOutcome outcome = translate(u"The cat sat on the mat."_s, token);
        EXPECT_TRUE(std::holds_alternative<Cancelled>(outcome))
            << failureText(outcome).toStdString();
        EXPECT_LT(clock.elapsed(), 300) << "well before the 500 ms limit";
        EXPECT_TRUE(waitUntil([&] { return server.closedConnections() > closedBefore; }))
            << apiName(api) << ": the server sees the connection go";
        EXPECT_EQ(engine.assetStatus(), Status::installed);
    }
    EXPECT_TRUE(log.entries().isEmpty());
}

TEST_F(LocalModelTranslationEngineTest, FirstSlowTranslationOfARunIsAnnounced) {
    struct Case {
        const char* name;
        Api api;
        bool loaded;
        bool installed;
        std::chrono::milliseconds answerDelay;
        bool announced;
    };
    const QList<Case> cases = {
        {"ollama loads the model", Api::ollama, false, true, 200ms, true},
        {"ollama has it in memory", Api::ollama, true, true, 200ms, false},
        {"ollama lacks the model", Api::ollama, false, false, 0ms, false},
        {"openai answers slowly", Api::openAi, false, true, 300ms, true},
        {"openai answers at once", Api::openAi, false, true, 0ms, false},
    };
    for (const Case& c : cases) {
        LocalModelTranslationEngine fresh(settings, log, testTiming());
        QSignalSpy notices(&fresh, &TranslationEngine::notice);
        use(c.api);
        server.loaded = c.loaded ? QStringList{kModel} : QStringList{};
        server.installed = c.installed ? QStringList{kModel} : QStringList{};
        server.routes = {{chatPath(c.api), {.delay = c.answerDelay}}};
        QCoro::waitFor(fresh.translate(u"Good morning to you."_s, {}));
        server.loaded.clear(); // the next answer would be slow again, but is not the first
        QCoro::waitFor(fresh.translate(u"Good evening to you."_s, {}));
        ASSERT_EQ(notices.size(), c.announced ? 1 : 0) << c.name;
        if (c.announced) {
            EXPECT_EQ(notices[0][0].toString(), kFirstUse);
        }
    }
}

TEST_F(LocalModelTranslationEngineTest, PreparationDownloadsWithProgressAndLogsTheOutcome) {
    server.installed.clear();
    server.pullLayers = {{u"sha256:weights"_s, 900}, {u"sha256:template"_s, 100}};
    server.pullStepsPerLayer = 10;
    server.pullInterval = 10ms;
    QSignalSpy progress(&engine, &TranslationEngine::preparationProgress);
    const PreparationOutcome outcome = QCoro::waitFor(engine.prepareInteractively({}));

    EXPECT_TRUE(std::holds_alternative<TranslationAssetsReady>(outcome));
    EXPECT_EQ(engine.assetStatus(), Status::installed);
    EXPECT_EQ(server.requests.last().path, "/api/tags") << "refreshed after the download";
    QList<double> fractions;
    for (const QList<QVariant>& signal : progress)
        fractions.append(signal[0].toDouble());
    ASSERT_GE(fractions.size(), 6) << "progress arrives while the stream runs";
    EXPECT_EQ(fractions.first(), 0.0);
    EXPECT_EQ(fractions.last(), 1.0);
    EXPECT_TRUE(std::is_sorted(fractions.begin(), fractions.end()));
    EXPECT_EQ(logLines(), (QStringList{u"翻译模型｜开始下载 qwen2.5:1.5b"_s,
                                       u"翻译模型｜已下载 25%"_s, u"翻译模型｜已下载 50%"_s,
                                       u"翻译模型｜已下载 75%"_s, u"英→中语言包可用"_s}));

    // Once the model is there, preparing again only checks.
    const qsizetype asked = server.requests.size();
    QCoro::waitFor(engine.prepareInteractively({}));
    EXPECT_FALSE(server.paths().mid(asked).contains("/api/pull"));
    EXPECT_EQ(log.entries().first().text, u"英→中语言包可用"_s);
}

TEST_F(LocalModelTranslationEngineTest, FailedPreparationLogsWhy) {
    struct Case {
        const char* name;
        Api api;
        Misbehaviour pull;
        QString pullError;
        QString logged;
    };
    const QList<Case> cases = {
        {"server reports an error",
         Api::ollama,
         {},
         u"pull model manifest: file does not exist"_s,
         u"语言包检查失败：翻译服务不可用（pull model manifest: file does not exist）"_s},
        {"stream dropped",
         Api::ollama,
         Misbehaviour::dropMidBody,
         {},
         u"语言包检查失败：翻译请求已取消"_s},
        {"stream stalls",
         Api::ollama,
         Misbehaviour::hang,
         {},
         u"语言包检查失败：翻译超时，请稍后再试"_s},
        {"http error",
         Api::ollama,
         Misbehaviour::httpError,
         {},
         u"语言包检查失败：翻译服务不可用（scripted failure）"_s},
        {"openai cannot pull",
         Api::openAi,
         {},
         {},
         u"语言包检查失败：这个翻译服务不能下载模型，请在服务端载入「qwen2.5:1.5b」（服务端现有："
         "llama3）"_s},
    };
    for (const Case& c : cases) {
        server.installed = {u"llama3"_s};
        server.pullError = c.pullError;
        server.routes = {{"/api/pull", {c.pull}}};
        use(c.api);
        const PreparationOutcome outcome = QCoro::waitFor(engine.prepareInteractively({}));
        ASSERT_TRUE(std::holds_alternative<TranslationFailure>(outcome)) << c.name;
        EXPECT_EQ(log.entries().first().kind, EventLog::Kind::error) << c.name;
        EXPECT_EQ(log.entries().first().text, c.logged) << c.name;
        EXPECT_EQ(u"语言包检查失败："_s + std::get<TranslationFailure>(outcome).message, c.logged);
        EXPECT_EQ(engine.assetStatus(), Status::supportedNotDownloaded) << c.name;
    }

    use(Api::ollama, u"http://127.0.0.1:%1"_s.arg(closedPort()));
    QCoro::waitFor(engine.prepareInteractively({}));
    EXPECT_EQ(log.entries().first().text, u"语言包检查失败：翻译服务不可用"_s);
}

TEST_F(LocalModelTranslationEngineTest, CancelledPreparationStopsTheDownloadSilently) {
    server.installed.clear();
    server.pullInterval = 50ms;
    CancellationToken token;
    QObject::connect(&engine, &TranslationEngine::preparationProgress, [token](double fraction) {
        if (fraction > 0.1)
            token.cancel();
    });
    const int closedBefore = server.closedConnections();
    const PreparationOutcome outcome = QCoro::waitFor(engine.prepareInteractively(token));
    EXPECT_TRUE(std::holds_alternative<Cancelled>(outcome));
    EXPECT_TRUE(waitUntil([&] { return server.closedConnections() > closedBefore; }));
    for (const EventLog::Entry& entry : log.entries())
        EXPECT_NE(entry.kind, EventLog::Kind::error) << entry.text.toStdString();
    EXPECT_FALSE(server.installed.contains(kModel));
}

// The lookup engine over the real backend: what a reader sees for words and sentences.
class TranslatedLookupTest : public LocalModelTranslationEngineTest {
protected:
    FixtureDatabase database{FixtureDatabase::schema()};
    BundledDictionary bundled{database.path()};
    BundledOnlyCatalog catalog;
    LookupEngine lookups{{.bundled = bundled,
                          .catalog = catalog,
                          .translator = engine,
                          .logError = [this](const QString& content) {
                              log.append(EventLog::Kind::error, content);
                          }}};

    LookupOutcome lookUp(const QString& text, CancellationToken token = {}) {
        return QCoro::waitFor(lookups.lookup(text, token));
    }
    static QString shown(const LookupOutcome& outcome) {
        if (const auto* result = std::get_if<LookupResult>(&outcome))
            return result->translation;
        if (const auto* error = std::get_if<LookupError>(&outcome))
            return error->localizedDescription();
        return u"<cancelled>"_s;
    }
};

TEST_F(TranslatedLookupTest, WordsAndSentencesReachTheReader) {
    server.answer = [](const QString& text) {
        return text == u"Qwzx"_s ? u"QWZX"_s : u"翻译：“猫坐在垫子上。”"_s;
    };
    EXPECT_EQ(shown(lookUp(u"Qwzx"_s)), u"词典和翻译里都没有「Qwzx」。"_s)
        << "a word the model gives back is not found";
    const LookupOutcome sentence = lookUp(u"The cat sat on the mat."_s);
    ASSERT_TRUE(std::holds_alternative<LookupResult>(sentence));
    EXPECT_EQ(std::get<LookupResult>(sentence).payload, LookupResult::Payload::translation);
    EXPECT_EQ(shown(sentence), u"猫坐在垫子上。"_s);

    server.answer = [](const QString& text) {
        return text;
    };
    EXPECT_EQ(shown(lookUp(u"The cat sat on the mat."_s)), u"未能翻译，请再试一次。"_s);
    EXPECT_EQ(log.entries().first().text, u"翻译失败：翻译服务不可用"_s);

    use(Api::ollama, u"http://127.0.0.1:%1"_s.arg(closedPort()));
    EXPECT_EQ(shown(lookUp(u"The cat sat on the mat."_s)),
              u"整句翻译需要本地翻译模型，可在「设置 › 词典与翻译」下载。"_s);
}

TEST_F(TranslatedLookupTest, CancelledLookupLeavesNoErrorLine) {
    server.routes = {{"/api/chat", {Misbehaviour::hang}}};
    const int closedBefore = server.closedConnections();
    CancellationToken token;
    QTimer::singleShot(50ms, [token] { token.cancel(); });
    EXPECT_TRUE(std::holds_alternative<Cancelled>(lookUp(u"The cat sat on the mat."_s, token)));
    EXPECT_TRUE(waitUntil([&] { return server.closedConnections() > closedBefore; }));
    EXPECT_TRUE(log.entries().isEmpty());
}
