#include "platform/linux/translation/LocalModelTranslationEngine.h"

#include "harness/FakeModelServer.h"
#include "harness/ManualTimers.h"
#include "harness/QtPrinters.h"
#include "harness/RunningTask.h"
#include "logs/EventLog.h"
#include "settings/DefaultsStore.h"
#include "settings/TranslationSettings.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

using Api = TranslationSettings::Api;
using Misbehaviour = FakeModelServer::Misbehaviour;
using Status = TranslationAssetStatus;

const QString kModel = u"qwen2.5:1.5b"_s;
const QString kUnavailable = u"翻译服务不可用"_s;
const QString kTimedOut = u"翻译超时，请稍后再试"_s;
const QString kDropped = u"连接中断，请稍后再试"_s;
const QString kBadAnswer = u"翻译服务的答复无法识别"_s;
const QString kNoTranslation = u"翻译服务没有给出译文"_s;
const QString kSentence = u"The cat sat on the mat."_s;

// The limits run on the test's clock. The connect limits are the longest, so that a request
// the server has seen is never taken for one that could not connect, whenever the client
// hears that it went out.
LocalModelTranslationEngine::Timing testTiming(ManualTimers& timers) {
    return {.limits = {.quick = {.connect = 1h, .total = 2s},
                       .chat = {.connect = 1h, .total = 60s},
                       .pull = {.connect = 1h, .total = 10h, .stall = 30s}},
            .noticeWhenUnloaded = 500ms,
            .noticeWhenUnknown = 3s,
            .timers = &timers};
}

QByteArray chatPath(Api api) {
    return api == Api::ollama ? "/api/chat" : "/v1/chat/completions";
}

QByteArray listingPath(Api api) {
    return api == Api::ollama ? "/api/tags" : "/v1/models";
}

const char* apiName(Api api) {
    return api == Api::ollama ? "ollama" : "openai";
}

// The failure's message, or the translation or the cancellation marked as such.
QString textOf(const TranslationOutcome& outcome) {
    if (const auto* failure = std::get_if<TranslationFailure>(&outcome))
        return failure->message;
    if (const auto* text = std::get_if<QString>(&outcome))
        return u"<translated: "_s + *text + u">"_s;
    return u"<cancelled>"_s;
}

// A refresh as a task with an outcome, to be left running like a translation.
QCoro::Task<bool> refreshOf(TranslationEngine& engine) {
    co_await engine.refreshAssetStatus();
    co_return true;
}

class LocalModelTranslationEngineTest : public testing::Test {
protected:
    QTemporaryDir dir;
    DefaultsStore store{dir.filePath(u"defaults.json"_s)};
    TranslationSettings settings{store};
    EventLog log{[](const QString&, const QDateTime&) {}, false};
    FakeModelServer server;
    ManualTimers timers;
    LocalModelTranslationEngine engine{settings, log, testTiming(timers)};

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
    // Waits until the server has the request, as a request that hangs there would be.
    void arrived(const QByteArray& path) {
        ASSERT_TRUE(QTest::qWaitFor([&] { return server.received(path); }))
            << path.toStdString() << " never reached the server";
    }
    QString lastLogLine() const { return log.entries().first().text; }
};

} // namespace

TEST_F(LocalModelTranslationEngineTest, AssetStatusFollowsWhatTheServerLists) {
    using enum TranslationAssetStatus;
    struct Case {
        const char* name;
        Api api;
        QStringList installed;
        QString wanted;
        Misbehaviour listing;
        Status expected;
    };
    const QList<Case> cases = {
        {"ollama has it", Api::ollama, {kModel, u"llama3:8b"_s}, kModel, {}, installed},
        {"ollama lacks it", Api::ollama, {u"llama3:8b"_s}, kModel, {}, supportedNotDownloaded},
        {"bare name is :latest", Api::ollama, {u"phi3:latest"_s}, u"phi3"_s, {}, installed},
        {"llama.cpp file path",
         Api::openAi,
         {u"/models/Qwen2.5-1.5B-Instruct.gguf"_s},
         u"qwen2.5-1.5b-instruct"_s,
         {},
         installed},
        {"openai lacks it", Api::openAi, {}, kModel, {}, supportedNotDownloaded},
        {"listing is not json", Api::ollama, {kModel}, kModel, Misbehaviour::garbage, unsupported},
        {"listing fails", Api::openAi, {kModel}, kModel, Misbehaviour::httpError, unsupported},
    };
    for (const Case& c : cases) {
        server.installed = c.installed;
        server.routes = {{c.api == Api::ollama ? "/api/tags" : "/v1/models", {c.listing}}};
        use(c.api);
        settings.setModel(c.wanted);
        EXPECT_EQ(refreshed(), c.expected) << c.name;
    }

    use(Api::ollama, FakeModelServer::closedEndpoint());
    EXPECT_EQ(refreshed(), unsupported) << "nothing listening";

    // An OpenAI endpoint given with its /v1 already on.
    server.installed = {kModel};
    server.routes.clear();
    use(Api::openAi, server.endpoint() + u"/v1"_s);
    EXPECT_EQ(refreshed(), installed);
}

TEST_F(LocalModelTranslationEngineTest, KeepsOnlyTheTranslationInBothProtocols) {
    const QString en = u"Hello, world."_s;
    const QString zh = u"你好，世界。"_s;
    const std::optional<QString> failed; // the answer is no translation
    struct Case {
        QString source, answer;
        std::optional<QString> expected;
    };
    const QList<Case> cases = {
        {en, u"<think>\nThe user wants Chinese.\n</think>\n\n"_s + zh, zh},
        {en, u"The user wants Chinese.</think>"_s + zh, zh},
        {en, u"<think>still thinking about it"_s, failed},
        {en, u"**Translation:** “你好，世界。”"_s, zh},
        {en, u"```\n你好，世界。\n```"_s, zh},
        {en, en + u"\n"_s + zh, zh},
        {en, u"以下是翻译：\n\n「你好，世界。」"_s, zh},
        {en, zh + u"\n\n注：这是常见的问候语。"_s, zh},
        {en, zh + u"<|im_end|>"_s, zh},
        {u"He said “yes” and “no”."_s, u"“是”和“否”"_s, u"“是”和“否”"_s},
        {u"\"Stop,\" she said."_s, u"“停下，”她说。"_s, u"“停下，”她说。"_s},
        {u"Translation: the act of translating."_s, u"翻译：翻译的行为。"_s,
         u"翻译：翻译的行为。"_s},
        {u"First line.\nSecond line."_s, u"First line.\n第一行。\nSecond line.\n第二行。"_s,
         u"第一行。\n第二行。"_s},
        {u"Ingredients:\nflour and water"_s, u"配料：\n面粉和水"_s, u"配料：\n面粉和水"_s},
        {u"I use Python every day."_s, u"我每天都用 Python。"_s, u"我每天都用 Python。"_s},
        {kSentence, kSentence, failed}, // English given back
        {kSentence, u"   \n  "_s, failed},
        {u"Qwzx"_s, u"qwzx."_s, u"qwzx"_s}, // a word given back is passed on
        {u"Qwzx"_s, u"weevil"_s, failed},
    };
    for (const Api api : {Api::ollama, Api::openAi}) {
        use(api);
        for (const Case& c : cases) {
            server.answer = [&c](const QString&) {
                return c.answer;
            };
            EXPECT_EQ(textOf(translate(c.source)),
                      c.expected ? u"<translated: "_s + *c.expected + u">"_s : kNoTranslation)
                << apiName(api) << ": " << c.answer.toStdString();
        }
        // What was asked: the text alone as the user's message, the model, no streaming.
        const FakeModelServer::Request& last = server.requests.last();
        EXPECT_EQ(last.path, chatPath(api));
        EXPECT_EQ(last.json().value(u"model"_s).toString(), kModel);
        EXPECT_EQ(last.message(u"user"_s), cases.last().source);
        EXPECT_TRUE(last.message(u"system"_s).contains(u"Simplified Chinese"_s));
        EXPECT_FALSE(last.json().value(u"stream"_s).toBool(true));
    }
}

TEST_F(LocalModelTranslationEngineTest, EachFailureOfTheChatEndsInItsTextAndTeachesTheState) {
    // Closing before a word of HTTP is a reply that cannot be read, like one in another
    // protocol; closing part-way through an answer is an interruption.
    const std::pair<Misbehaviour, QString> cases[] = {
        {Misbehaviour::hang, kTimedOut},         {Misbehaviour::dropMidBody, kDropped},
        {Misbehaviour::closeAtOnce, kBadAnswer}, {Misbehaviour::notHttp, kBadAnswer},
        {Misbehaviour::garbage, kBadAnswer},     {Misbehaviour::httpError, u"翻译服务出错"_s},
    };
    for (const Api api : {Api::ollama, Api::openAi}) {
        for (const auto& [chat, text] : cases) {
            // A fresh engine knows nothing yet: it asks the server what it has first.
            LocalModelTranslationEngine fresh(settings, log, testTiming(timers));
            use(api);
            server.routes = {{chatPath(api), {chat}}};
            server.requests.clear();
            SCOPED_TRACE(apiName(api) + std::to_string(int(chat)));
            const RunningTask running(fresh.translate(kSentence, {}));
            if (chat == Misbehaviour::hang) {
                arrived(chatPath(api));
                timers.advance(59'999ms);
                QCoreApplication::processEvents();
                EXPECT_FALSE(running.finished()) << "the chat has its whole limit";
                timers.advance(1ms);
            }
            EXPECT_EQ(textOf(running.outcome()), text);
            EXPECT_EQ(fresh.assetStatus(), Status::installed);
            EXPECT_EQ(server.paths().value(0), listingPath(api));
        }
        server.routes.clear();

        // The chat's own answer tells a missing model; the listing, a missing server.
        use(api);
        server.installed.clear();
        EXPECT_EQ(textOf(translate(kSentence)), kUnavailable);
        EXPECT_EQ(engine.assetStatus(), Status::supportedNotDownloaded) << apiName(api);
        server.installed = {kModel};

        use(api, FakeModelServer::closedEndpoint());
        EXPECT_EQ(textOf(translate(kSentence)), kUnavailable);
        EXPECT_EQ(engine.assetStatus(), Status::unsupported) << apiName(api);
    }
}

TEST_F(LocalModelTranslationEngineTest, ServerThatStopsAnsweringIsGivenUpWithinTheQuickLimit) {
    for (const Api api : {Api::ollama, Api::openAi}) {
        SCOPED_TRACE(apiName(api));
        // What the engine knew before the stall stays: a stall says nothing about the model.
        use(api);
        server.routes.clear();
        ASSERT_EQ(refreshed(), Status::installed);
        server.routes = {{listingPath(api), {Misbehaviour::hang}}};
        server.requests.clear();
        const RunningTask refreshing(refreshOf(engine));
        arrived(listingPath(api));
        timers.advance(2s);
        refreshing.outcome();
        EXPECT_EQ(engine.assetStatus(), Status::installed);

        // A first translation asks the listing first and never gets to the long chat limit.
        LocalModelTranslationEngine fresh(settings, log, testTiming(timers));
        server.requests.clear();
        const RunningTask stalled(fresh.translate(kSentence, {}));
        arrived(listingPath(api));
        timers.advance(1999ms);
        QCoreApplication::processEvents();
        EXPECT_FALSE(stalled.finished());
        timers.advance(1ms);
        EXPECT_EQ(textOf(stalled.outcome()), kTimedOut);
        EXPECT_FALSE(server.received(chatPath(api)));

        // One that drops the listing is interrupted; the next translation asks again.
        server.routes = {{listingPath(api), {Misbehaviour::dropMidBody}}};
        EXPECT_EQ(textOf(QCoro::waitFor(fresh.translate(kSentence, {}))), kDropped);
        server.routes.clear();
        EXPECT_EQ(textOf(QCoro::waitFor(fresh.translate(kSentence, {}))),
                  u"<translated: 你好，世界。>"_s);
        EXPECT_EQ(timers.pending(), 0) << "every limit ends with its request";
    }
}

TEST_F(LocalModelTranslationEngineTest, CancellingAbortsAtOnceAndSilently) {
    // Whether the server sees one more connection go than `before`.
    const auto closedAfter = [this](int before) {
        return QTest::qWaitFor([&] { return server.closedConnections() > before; });
    };
    for (const Api api : {Api::ollama, Api::openAi}) {
        use(api);
        refreshed();
        server.routes = {{chatPath(api), {Misbehaviour::hang}}};
        server.requests.clear();
        const int closed = server.closedConnections();
        CancellationToken token;
        const RunningTask running(engine.translate(kSentence, token));
        arrived(chatPath(api));
        token.cancel(); // the clock never moves, so no time limit can have ended it
        const TranslationOutcome& outcome = running.outcome();
        EXPECT_TRUE(std::holds_alternative<Cancelled>(outcome)) << textOf(outcome).toStdString();
        EXPECT_TRUE(closedAfter(closed)) << apiName(api);
        EXPECT_EQ(engine.assetStatus(), Status::installed);
        EXPECT_EQ(timers.pending(), 0);
    }

    // A download stops as soon as it is cancelled.
    use(Api::ollama);
    server.installed.clear();
    server.pullInterval = 50ms;
    const int closed = server.closedConnections();
    CancellationToken token;
    QObject::connect(&engine, &TranslationEngine::preparationProgress, [token](double fraction) {
        if (fraction > 0.1)
            token.cancel();
    });
    EXPECT_TRUE(
        std::holds_alternative<Cancelled>(QCoro::waitFor(engine.prepareInteractively(token))));
    EXPECT_TRUE(closedAfter(closed));
    EXPECT_FALSE(server.installed.contains(kModel));
    for (const EventLog::Entry& entry : log.entries())
        EXPECT_NE(entry.kind, EventLog::Kind::error) << entry.text.toStdString();
}

TEST_F(LocalModelTranslationEngineTest, FirstSlowTranslationOfARunIsAnnounced) {
    struct Case {
        const char* name;
        Api api;
        bool loaded, installed;
        bool slow; // the answer comes only after the notice's delay
        bool announced;
    };
    const QList<Case> cases = {
        {"ollama loads the model", Api::ollama, false, true, true, true},
        {"ollama has it in memory", Api::ollama, true, true, true, false},
        {"ollama lacks the model", Api::ollama, false, false, false, false},
        {"openai answers slowly", Api::openAi, false, true, true, true},
        {"openai answers at once", Api::openAi, false, true, false, false},
    };
    for (const Case& c : cases) {
        LocalModelTranslationEngine fresh(settings, log, testTiming(timers));
        QSignalSpy notices(&fresh, &TranslationEngine::notice);
        use(c.api);
        server.loaded = c.loaded ? QStringList{kModel} : QStringList{};
        server.installed = c.installed ? QStringList{kModel} : QStringList{};
        server.routes = {{chatPath(c.api), {c.slow ? Misbehaviour::held : Misbehaviour::none}}};
        server.requests.clear();
        const RunningTask first(fresh.translate(u"Good morning to you."_s, {}));
        if (c.slow) {
            arrived(chatPath(c.api));
            // Ollama said the model is not in memory; other servers cannot tell.
            timers.advance(c.api == Api::ollama ? 500ms : 3s);
            server.release();
        }
        first.outcome();
        timers.advance(1h);    // a notice not given while waiting is never given late
        server.loaded.clear(); // the next answer would be slow again, but is not the first
        server.routes.clear();
        QCoro::waitFor(fresh.translate(u"Good evening to you."_s, {}));
        timers.advance(1h);
        ASSERT_EQ(notices.size(), c.announced ? 1 : 0) << c.name;
        if (c.announced) {
            EXPECT_EQ(notices[0][0].toString(),
                      u"首次使用，正在准备英中语言包（可能超过 30 秒）"_s);
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
    QStringList lines;
    for (const EventLog::Entry& entry : log.entries())
        lines.prepend(entry.text);
    EXPECT_EQ(lines, (QStringList{u"翻译模型｜开始下载 qwen2.5:1.5b"_s, u"翻译模型｜已下载 25%"_s,
                                  u"翻译模型｜已下载 50%"_s, u"翻译模型｜已下载 75%"_s,
                                  u"英→中语言包可用"_s}));

    // Once the model is there, preparing again only checks.
    const qsizetype asked = server.requests.size();
    QCoro::waitFor(engine.prepareInteractively({}));
    EXPECT_FALSE(server.paths().mid(asked).contains("/api/pull"));
    EXPECT_EQ(lastLogLine(), u"英→中语言包可用"_s);
}

TEST_F(LocalModelTranslationEngineTest, FailedPreparationLogsWhy) {
    // A server's refusal with its reason and the other servers' refusal are run by the
    // translate-setup command's tests.
    struct Case {
        Api api;
        Misbehaviour pull;
        QString logged;
    };
    const QList<Case> cases = {
        {Api::ollama, Misbehaviour::dropMidBody, u"语言包检查失败：连接中断，请稍后再试"_s},
        {Api::ollama, Misbehaviour::hang, u"语言包检查失败：翻译超时，请稍后再试"_s},
        {Api::ollama, Misbehaviour::httpError,
         u"语言包检查失败：翻译服务出错（scripted failure）"_s},
        // The stream reader names what it could not read.
        {Api::ollama, Misbehaviour::garbage, u"语言包检查失败：翻译服务出错（下载进度无法解析）"_s},
        {Api::openAi,
         {},
         u"语言包检查失败：这个翻译服务不能下载模型，请在服务端载入「qwen2.5:1.5b」（服务端现有："
         "llama3）"_s},
    };
    for (const Case& c : cases) {
        server.installed = {u"llama3"_s};
        server.routes = {{"/api/pull", {c.pull}}};
        server.requests.clear();
        use(c.api);
        const RunningTask running(engine.prepareInteractively({}));
        if (c.pull == Misbehaviour::hang) {
            arrived("/api/pull");
            timers.advance(30s); // silence as long as the stall limit
        }
        const PreparationOutcome& outcome = running.outcome();
        ASSERT_TRUE(std::holds_alternative<TranslationFailure>(outcome)) << c.logged.toStdString();
        EXPECT_EQ(log.entries().first().kind, EventLog::Kind::error);
        EXPECT_EQ(lastLogLine(), c.logged);
        EXPECT_EQ(u"语言包检查失败："_s + std::get<TranslationFailure>(outcome).message, c.logged);
        EXPECT_EQ(engine.assetStatus(), Status::supportedNotDownloaded);
    }

    use(Api::ollama, FakeModelServer::closedEndpoint());
    QCoro::waitFor(engine.prepareInteractively({}));
    EXPECT_EQ(lastLogLine(), u"语言包检查失败：翻译服务不可用"_s);
}
