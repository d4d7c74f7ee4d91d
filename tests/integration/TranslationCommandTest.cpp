#include "harness/FakeModelServer.h"
#include "harness/QtPrinters.h"
#include "harness/QuilletProcess.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTcpServer>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

using Misbehaviour = FakeModelServer::Misbehaviour;

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
        server.answer = [](const QString& text) {
            return text == kSentence ? u"译文：猫坐在垫子上。"_s : u"？"_s;
        };
        environment.insert(u"XDG_CONFIG_HOME"_s, home.filePath(u"config"_s));
        environment.insert(u"XDG_STATE_HOME"_s, home.filePath(u"state"_s));
        pointAt(server.endpoint());
    }

    QuilletProcess::Run quillet(const QStringList& arguments) {
        return QuilletProcess::run(arguments, environment);
    }
    void pointAt(const QString& endpoint) {
        const QuilletProcess::Run set =
            quillet({u"settings"_s, u"set"_s, u"translation.endpoint"_s, endpoint});
        ASSERT_EQ(set.exitCode, 0) << set.err.toStdString();
    }
    QString lastLogLine() { return quillet({u"log"_s, u"--lines"_s, u"1"_s}).out; }
};

} // namespace

TEST_F(TranslationCommandTest, SettingsAreValidatedAndListed) {
    const QuilletProcess::Run list = quillet({u"settings"_s, u"list"_s});
    EXPECT_TRUE(list.out.contains(u"translation.endpoint = "_s + server.endpoint()));
    EXPECT_TRUE(list.out.contains(u"translation.api = ollama"_s));
    EXPECT_TRUE(list.out.contains(u"translation.model = qwen2.5:1.5b"_s));

    const QList<QStringList> refused = {
        {u"translation.endpoint"_s, u"ftp://127.0.0.1:11434"_s},
        {u"translation.endpoint"_s, u"localhost:11434"_s},
        {u"translation.api"_s, u"grpc"_s},
        {u"translation.model"_s, u"two words"_s},
    };
    for (const QStringList& pair : refused) {
        const QuilletProcess::Run run = quillet(QStringList{u"settings"_s, u"set"_s} + pair);
        EXPECT_EQ(run.exitCode, 1) << pair.join(u' ').toStdString();
        EXPECT_TRUE(run.err.startsWith(u"「"_s + pair[0] + u"」需要"_s)) << run.err.toStdString();
    }
    EXPECT_EQ(quillet({u"settings"_s, u"get"_s, u"translation.endpoint"_s}).out, server.endpoint());
}

TEST_F(TranslationCommandTest, SetupReportsAReadyServer) {
    const QuilletProcess::Run run = quillet({u"translate-setup"_s});
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(run.out, (QStringList{u"翻译服务：%1（Ollama 接口）"_s.arg(server.endpoint()),
                                    u"模型：qwen2.5:1.5b"_s, u"状态：已就绪"_s}
                            .join(u'\n')));
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
    EXPECT_TRUE(server.installed.contains(kModel));
    EXPECT_TRUE(lastLogLine().endsWith(u"英→中语言包可用"_s));
}

TEST_F(TranslationCommandTest, SetupFailuresExitTwoAndSayWhy) {
    struct Case {
        const char* name;
        QString api;
        bool reachable;
        QString pullError;
        bool downloads;
        QString state;
        QString error;
    };
    const QList<Case> cases = {
        {"no server",
         u"ollama"_s,
         false,
         {},
         false,
         u"状态：连不上翻译服务"_s,
         u"请先启动翻译服务（例如 ollama serve），或用 quillet settings set translation.endpoint "
         "网址 指向它。"_s},
        {"download refused", u"ollama"_s, true, u"pull model manifest: file does not exist"_s, true,
         u"状态：模型未下载"_s,
         u"未能准备模型：翻译服务不可用（pull model manifest: file does not exist）"_s},
        {"server cannot download",
         u"openai"_s,
         true,
         {},
         false,
         u"状态：模型未下载"_s,
         u"未能准备模型：这个翻译服务不能下载模型，请在服务端载入「qwen2.5:1.5b」"_s},
    };
    for (const Case& c : cases) {
        server.installed.clear();
        server.pullError = c.pullError;
        quillet({u"settings"_s, u"set"_s, u"translation.api"_s, c.api});
        if (c.reachable) {
            pointAt(server.endpoint());
        } else {
            QTcpServer probe;
            probe.listen(QHostAddress::LocalHost, 0);
            const quint16 port = probe.serverPort();
            probe.close();
            pointAt(u"http://127.0.0.1:%1"_s.arg(port));
        }
        const QuilletProcess::Run run = quillet({u"translate-setup"_s});
        EXPECT_EQ(run.exitCode, 2) << c.name;
        EXPECT_TRUE(run.out.contains(c.state)) << c.name << ": " << run.out.toStdString();
        EXPECT_EQ(run.err, c.error) << c.name;
        EXPECT_EQ(run.out.contains(u"下载中"_s), c.downloads) << c.name;
    }
}

TEST_F(TranslationCommandTest, LookupOfASentenceShowsTheTranslation) {
    const QuilletProcess::Run plain = quillet({u"lookup"_s, kSentence});
    EXPECT_EQ(plain.exitCode, 0) << plain.err.toStdString();
    EXPECT_EQ(plain.out, kSentence + u"\n本地翻译\n猫坐在垫子上。"_s);

    const QuilletProcess::Run json = quillet({u"lookup"_s, u"--json"_s, kSentence});
    const QJsonObject object = QJsonDocument::fromJson(json.out.toUtf8()).object();
    EXPECT_EQ(object[u"payload"_s].toString(), u"translation"_s);
    EXPECT_EQ(object[u"translation"_s].toString(), u"猫坐在垫子上。"_s);
    EXPECT_EQ(server.requests.last().message(u"user"_s), kSentence);
}

TEST_F(TranslationCommandTest, LookupFailuresShowTheReadersMessage) {
    struct Case {
        const char* name;
        QStringList installed;
        Misbehaviour chat;
        QString shown;
    };
    const QList<Case> cases = {
        {"model missing", {}, {}, u"整句翻译需要本地翻译模型，可在「设置 › 词典与翻译」下载。"_s},
        {"answer in English", {kModel}, {}, u"未能翻译，请再试一次。"_s},
        {"server drops the answer",
         {kModel},
         Misbehaviour::dropMidBody,
         u"未能翻译，请再试一次。"_s},
    };
    server.answer = [](const QString& text) {
        return text;
    };
    for (const Case& c : cases) {
        server.installed = c.installed;
        server.routes = {{"/api/chat", {c.chat}}};
        const QuilletProcess::Run run = quillet({u"lookup"_s, kSentence});
        EXPECT_EQ(run.exitCode, 2) << c.name;
        EXPECT_EQ(run.err, c.shown) << c.name;
    }
    const QStringList log = quillet({u"log"_s, u"--lines"_s, u"3"_s}).out.split(u'\n');
    ASSERT_EQ(log.size(), 3);
    EXPECT_TRUE(log[1].endsWith(u"翻译失败：翻译请求已取消"_s)) << log[1].toStdString();
}
