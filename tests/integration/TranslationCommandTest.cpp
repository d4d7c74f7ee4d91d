#include "harness/FakeModelServer.h"
#include "harness/QtPrinters.h"
#include "harness/QuilletProcess.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

const QString kModel = u"qwen2.5:1.5b"_s;
const QString kSentence = u"The cat sat on the mat."_s;

// The real `quillet` binary, with settings and logs of its own, against a fake model server
// that this process serves while the binary runs.
class TranslationCommandTest : public testing::Test {
protected:
    QTemporaryDir home;
    FakeModelServer server;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();

    void SetUp() override {
        ASSERT_TRUE(server.listen());
        server.installed = {kModel};
        server.answer = [](const QString&) {
            return u"译文：猫坐在垫子上。"_s;
        };
        environment.insert(u"XDG_CONFIG_HOME"_s, home.filePath(u"config"_s));
        environment.insert(u"XDG_STATE_HOME"_s, home.filePath(u"state"_s));
        set(u"translation.endpoint"_s, server.endpoint());
    }

    QuilletProcess::Run quillet(const QStringList& arguments) {
        return QuilletProcess::run(arguments, environment);
    }
    void set(const QString& key, const QString& value) {
        const QuilletProcess::Run run = quillet({u"settings"_s, u"set"_s, key, value});
        ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    }
};

} // namespace

TEST_F(TranslationCommandTest, SetupReportsAReadyServer) {
    const QuilletProcess::Run run = quillet({u"translate-setup"_s});
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(run.out, u"翻译服务：%1（Ollama 接口）\n模型：qwen2.5:1.5b\n状态：已就绪"_s.arg(
                           server.endpoint()));
    EXPECT_FALSE(server.paths().contains("/api/pull"));
}

TEST_F(TranslationCommandTest, SetupDownloadsAMissingModelWithProgress) {
    server.installed.clear();
    const QuilletProcess::Run run = quillet({u"translate-setup"_s});
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    const QStringList lines = run.out.split(u'\n');
    ASSERT_GE(lines.size(), 6) << run.out.toStdString();
    EXPECT_EQ(lines[2], u"状态：模型未下载"_s);
    EXPECT_EQ(lines[3], u"正在准备模型 qwen2.5:1.5b…"_s);
    // Not a terminal: plain lines at each tenth, never a carriage return.
    const QStringList progress = lines.filter(u"下载中"_s);
    EXPECT_EQ(progress.first(), u"下载中 0%"_s);
    EXPECT_EQ(progress.last(), u"下载中 100%"_s);
    EXPECT_FALSE(run.out.contains(u'\r'));
    EXPECT_EQ(lines.last(), u"状态：已就绪"_s);
}

TEST_F(TranslationCommandTest, SetupFailuresExitTwoAndSayWhy) {
    const QString closed = FakeModelServer::closedEndpoint();
    struct Case {
        QString api, endpoint, pullError, state, error;
    };
    const QList<Case> cases = {
        {u"ollama"_s,
         closed,
         {},
         u"状态：连不上翻译服务"_s,
         u"请先启动翻译服务（例如 ollama serve），或用 quillet settings set translation.endpoint "
         "网址 指向它。"_s},
        {u"ollama"_s, server.endpoint(), u"pull model manifest: file does not exist"_s,
         u"状态：模型未下载"_s,
         u"未能准备模型：翻译服务出错（pull model manifest: file does not exist）"_s},
        {u"openai"_s,
         server.endpoint(),
         {},
         u"状态：模型未下载"_s,
         u"未能准备模型：这个翻译服务不能下载模型，请在服务端载入「qwen2.5:1.5b」"_s},
    };
    server.installed.clear();
    for (const Case& c : cases) {
        server.pullError = c.pullError;
        set(u"translation.api"_s, c.api);
        set(u"translation.endpoint"_s, c.endpoint);
        const QuilletProcess::Run run = quillet({u"translate-setup"_s});
        EXPECT_EQ(run.exitCode, 2) << c.error.toStdString();
        EXPECT_TRUE(run.out.contains(c.state)) << run.out.toStdString();
        EXPECT_EQ(run.err, c.error);
    }
}

TEST_F(TranslationCommandTest, SentenceLookupShowsTheTranslationOrTheReadersMessage) {
    EXPECT_EQ(quillet({u"lookup"_s, kSentence}).out, kSentence + u"\n本地翻译\n猫坐在垫子上。"_s);
    const QuilletProcess::Run json = quillet({u"lookup"_s, u"--json"_s, kSentence});
    const QJsonObject object = QJsonDocument::fromJson(json.out.toUtf8()).object();
    EXPECT_EQ(object[u"payload"_s].toString(), u"translation"_s);
    EXPECT_EQ(object[u"translation"_s].toString(), u"猫坐在垫子上。"_s);
}

TEST_F(TranslationCommandTest, FailedAnswerIsNamedInTheLogAndNothingElseReachesTheTerminal) {
    using enum FakeModelServer::Misbehaviour;
    struct Case {
        QByteArray path;
        FakeModelServer::Misbehaviour misbehaviour;
        QString reason; // what the log says after "翻译失败："
    };
    const QList<Case> cases = {
        {"/api/chat", dropMidBody, u"连接中断，请稍后再试"_s},
        {"/api/chat", garbage, u"翻译服务的答复无法识别"_s},
        {"/api/chat", notHttp, u"翻译服务的答复无法识别"_s},
        {"/api/chat", httpError, u"翻译服务出错"_s},
    };
    for (const Case& c : cases) {
        server.routes = {{c.path, {c.misbehaviour}}};
        server.requests.clear();
        SCOPED_TRACE(c.reason.toStdString());
        const QuilletProcess::Run failed = quillet({u"lookup"_s, kSentence});
        EXPECT_EQ(failed.exitCode, 2);
        // One line of the reader's message: no warnings of the libraries underneath.
        EXPECT_FALSE(failed.err.contains(u'\n')) << failed.err.toStdString();
        EXPECT_EQ(failed.err, u"未能翻译，请再试一次。"_s);
        // The engine's own reason goes to the log, just before the reader's message.
        const QStringList log = quillet({u"log"_s, u"--lines"_s, u"2"_s}).out.split(u'\n');
        EXPECT_TRUE(log.first().endsWith(u"翻译失败："_s + c.reason))
            << log.join(u'\n').toStdString();
        EXPECT_EQ(server.received("/api/chat"), c.path == "/api/chat");
    }
}

// A server that takes the connection and never answers is given up after the quick listing's
// limit, long before a translation's own; as it never said it is there, the gloss answers.
TEST_F(TranslationCommandTest, AServerThatNeverAnswersGivesWayToTheGloss) {
    server.routes = {{"/api/tags", {FakeModelServer::Misbehaviour::hang}}};
    const QuilletProcess::Run glossed = quillet({u"lookup"_s, kSentence});
    EXPECT_EQ(glossed.exitCode, 0) << glossed.err.toStdString();
    EXPECT_TRUE(glossed.out.startsWith(kSentence + u"\n逐词释义\n"_s)) << glossed.out.toStdString();
    EXPECT_FALSE(server.received("/api/chat"));
}

// The network stack and the model server's client are opened only when a lookup reaches the
// translator: the dynamic loader's own report of the files it opened says so.
TEST_F(TranslationCommandTest, OnlyASentenceLoadsTheTranslationClient) {
    environment.insert(u"LD_DEBUG"_s, u"files"_s);
    const auto loaded = [this](const QString& text) {
        const QuilletProcess::Run run = quillet({u"lookup"_s, text});
        EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
        return std::pair{run.err.contains(u"libquillet_model_server.so"_s),
                         run.err.contains(u"libQt6Network.so"_s)};
    };
    EXPECT_EQ(loaded(u"water"_s), std::pair(false, false));
    EXPECT_EQ(loaded(kSentence), std::pair(true, true));
}
