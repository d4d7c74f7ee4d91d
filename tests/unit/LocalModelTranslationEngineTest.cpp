#include "platform/linux/translation/LocalModelTranslationEngine.h"

#include "harness/FakeModelServer.h"
#include "harness/QtPrinters.h"
#include "settings/DefaultsStore.h"
#include "settings/EventLog.h"
#include "settings/TranslationSettings.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

using Api = TranslationSettings::Api;
using Misbehaviour = FakeModelServer::Misbehaviour;
using Status = TranslationAssetStatus;

const QString kModel = u"qwen2.5:1.5b"_s;
const QString kUnavailable = u"翻译服务不可用"_s;
const QString kSentence = u"The cat sat on the mat."_s;

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

// An address on which nothing listens.
QString closedEndpoint() {
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return u"http://127.0.0.1:%1"_s.arg(probe.serverPort());
}

// The failure's message, or the translation or the cancellation marked as such.
QString textOf(const TranslationOutcome& outcome) {
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

    use(Api::ollama, closedEndpoint());
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
                      c.expected ? u"<translated: "_s + *c.expected + u">"_s : kUnavailable)
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

TEST_F(LocalModelTranslationEngineTest, EachFailureEndsInItsTextAndTeachesTheState) {
    const std::pair<Misbehaviour, QString> cases[] = {
        {Misbehaviour::hang, u"翻译超时，请稍后再试"_s},
        {Misbehaviour::dropMidBody, u"翻译请求已取消"_s},
        {Misbehaviour::closeAtOnce, kUnavailable},
        {Misbehaviour::notHttp, kUnavailable},
        {Misbehaviour::garbage, kUnavailable},
        {Misbehaviour::httpError, kUnavailable},
    };
    for (const Api api : {Api::ollama, Api::openAi}) {
        for (const auto& [chat, text] : cases) {
            // A fresh engine knows nothing yet: a failure asks the server what it has.
            LocalModelTranslationEngine fresh(settings, log, testTiming());
            use(api);
            server.routes = {{chatPath(api), {chat}}};
            QElapsedTimer clock;
            clock.start();
            const TranslationOutcome outcome = QCoro::waitFor(fresh.translate(kSentence, {}));
            const std::string name = apiName(api) + std::to_string(int(chat));
            EXPECT_EQ(textOf(outcome), text) << name;
            EXPECT_EQ(fresh.assetStatus(), Status::installed) << name;
            EXPECT_LT(clock.elapsed(), 2'000) << name;
        }
        server.routes.clear();

        // The chat's own answer tells a missing model and a missing server apart.
        use(api);
        server.installed.clear();
        EXPECT_EQ(textOf(translate(kSentence)), kUnavailable);
        EXPECT_EQ(engine.assetStatus(), Status::supportedNotDownloaded) << apiName(api);
        server.installed = {kModel};

        use(api, closedEndpoint());
        EXPECT_EQ(textOf(translate(kSentence)), kUnavailable);
        EXPECT_EQ(engine.assetStatus(), Status::unsupported) << apiName(api);
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
        const int closed = server.closedConnections();
        CancellationToken token;
        QTimer::singleShot(50ms, [token] { token.cancel(); });
        QElapsedTimer clock;
        clock.start();
        const TranslationOutcome outcome = translate(kSentence, token);
        EXPECT_TRUE(std::holds_alternative<Cancelled>(outcome)) << textOf(outcome).toStdString();
        EXPECT_LT(clock.elapsed(), 300) << "well before the 500 ms limit";
        EXPECT_TRUE(closedAfter(closed)) << apiName(api);
        EXPECT_EQ(engine.assetStatus(), Status::installed);
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
        {Api::ollama, Misbehaviour::dropMidBody, u"语言包检查失败：翻译请求已取消"_s},
        {Api::ollama, Misbehaviour::hang, u"语言包检查失败：翻译超时，请稍后再试"_s},
        {Api::ollama, Misbehaviour::httpError,
         u"语言包检查失败：翻译服务不可用（scripted failure）"_s},
        {Api::openAi,
         {},
         u"语言包检查失败：这个翻译服务不能下载模型，请在服务端载入「qwen2.5:1.5b」（服务端现有："
         "llama3）"_s},
    };
    for (const Case& c : cases) {
        server.installed = {u"llama3"_s};
        server.routes = {{"/api/pull", {c.pull}}};
        use(c.api);
        const PreparationOutcome outcome = QCoro::waitFor(engine.prepareInteractively({}));
        ASSERT_TRUE(std::holds_alternative<TranslationFailure>(outcome)) << c.logged.toStdString();
        EXPECT_EQ(log.entries().first().kind, EventLog::Kind::error);
        EXPECT_EQ(lastLogLine(), c.logged);
        EXPECT_EQ(u"语言包检查失败："_s + std::get<TranslationFailure>(outcome).message, c.logged);
        EXPECT_EQ(engine.assetStatus(), Status::supportedNotDownloaded);
    }

    use(Api::ollama, closedEndpoint());
    QCoro::waitFor(engine.prepareInteractively({}));
    EXPECT_EQ(lastLogLine(), u"语言包检查失败：翻译服务不可用"_s);
}
