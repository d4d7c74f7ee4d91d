// The translation section of the 「词典与翻译」 page, in the settings window, against a fake
// model server.
#include "harness/FakeModelServer.h"
#include "harness/ManualTimers.h"
#include "harness/SettingsObjects.h"
#include "platform/linux/translation/LocalModelTranslationEngine.h"
#include "ui/settings/SettingsWindow.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <algorithm>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

using Api = TranslationSettings::Api;

const QString kModel = u"qwen2.5:1.5b"_s;

// No time limit runs out unless a test moves this clock.
LocalModelTranslationEngine::Timing testTiming(ManualTimers& timers) {
    return {.limits = {.quick = {.connect = 1h, .total = 1h},
                       .chat = {.connect = 1h, .total = 1h},
                       .pull = {.connect = 1h, .total = 10h, .stall = 1h}},
            .noticeWhenUnloaded = 1h,
            .noticeWhenUnknown = 1h,
            .timers = &timers};
}

class TranslationSectionTest : public testing::Test {
protected:
    QTemporaryDir dir;
    SettingsObjects objects{dir.filePath(u"defaults.json"_s),
                            SettingsObjects::Dictionaries::installed};
    DefaultsStore& store = objects.store;
    TranslationSettings& settings = objects.translation;
    FakeModelServer server;
    ManualTimers timers;
    std::unique_ptr<LocalModelTranslationEngine> engine;
    std::unique_ptr<SettingsWindow> window;

    void SetUp() override {
        ASSERT_TRUE(server.listen());
        server.installed = {kModel};
        settings.setEndpoint(QUrl(server.endpoint()));
        settings.setModel(kModel);
        engine = std::make_unique<LocalModelTranslationEngine>(settings, objects.log,
                                                               testTiming(timers));
        window = std::make_unique<SettingsWindow>(objects.context(engine.get()));
    }

    void present() {
        window->present(SettingsPage::dictionaries);
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    }

    template <typename Widget> Widget* child(const QString& name) const {
        auto* widget = window->findChild<Widget*>(name);
        EXPECT_NE(widget, nullptr) << name.toStdString();
        return widget;
    }
    QString status() const { return child<QLabel>(u"statusText"_s)->text(); }
    QString hint() const { return child<QLabel>(u"statusHint"_s)->text(); }
    bool visible(const QString& name) const { return child<QWidget>(name)->isVisible(); }

    // Waits for the status line to read `state`; a check in flight reads "正在检查…".
    void expectStatus(const QString& state) const {
        const QString wanted = u"状态："_s + state;
        EXPECT_TRUE(QTest::qWaitFor([&] { return status() == wanted; }))
            << "status: " << status().toStdString() << ", wanted " << wanted.toStdString();
    }

    void click(const QString& name) {
        auto* button = child<QPushButton>(name);
        ASSERT_TRUE(button->isVisible()) << name.toStdString();
        QTest::mouseClick(button, Qt::LeftButton);
    }

    // Types into a field and presses Return, which ends its editing.
    void type(const QString& field, const QString& text) {
        auto* edit = child<QLineEdit>(field);
        edit->clear();
        QTest::keyClicks(edit, text);
        QTest::keyClick(edit, Qt::Key_Return);
    }

    // The endpoint as the settings file on disk holds it.
    QString storedEndpoint() const {
        return DefaultsStore(store.filePath()).value(u"translation.endpoint"_s).toString();
    }

    // Slow enough that a test sees the download under way.
    void slowDownload(int steps) {
        server.installed.clear();
        server.pullStepsPerLayer = steps;
        server.pullInterval = 20ms;
    }
    bool downloadUnderWay() const {
        const auto* bar = child<QProgressBar>(u"downloadProgress"_s);
        return bar->isVisible() && bar->maximum() == 100 && bar->value() > 0 && bar->value() < 100;
    }
};

TEST_F(TranslationSectionTest, StatusFollowsWhatTheServerSays) {
    present();
    expectStatus(u"已就绪"_s);
    EXPECT_FALSE(visible(u"downloadButton"_s));
    EXPECT_TRUE(hint().contains(kModel));

    server.installed.clear();
    click(u"recheckButton"_s);
    expectStatus(u"模型未下载"_s);
    EXPECT_TRUE(visible(u"downloadButton"_s));

    type(u"endpointField"_s, FakeModelServer::closedEndpoint());
    expectStatus(u"连不上翻译服务"_s);
    EXPECT_TRUE(hint().contains(u"ollama serve"_s)) << hint().toStdString();
    EXPECT_FALSE(visible(u"downloadButton"_s));

    // An OpenAI-compatible server cannot be told to download: it is told what to load.
    auto* kind = child<QComboBox>(u"apiField"_s);
    QTest::keyClick(kind, Qt::Key_Down);
    EXPECT_EQ(settings.api(), Api::openAi);
    type(u"endpointField"_s, server.endpoint());
    expectStatus(u"模型未下载"_s);
    EXPECT_FALSE(visible(u"downloadButton"_s));
    EXPECT_TRUE(hint().contains(kModel));

    // Closing only hides; showing the page again asks the server afresh.
    const QPointer<SettingsWindow> alive(window.get());
    window->close();
    EXPECT_TRUE(alive && window->isHidden());
    server.installed = {kModel};
    present();
    EXPECT_TRUE(window->isVisible());
    expectStatus(u"已就绪"_s);
}

TEST_F(TranslationSectionTest, RefusedValuesAreNotStored) {
    present();
    expectStatus(u"已就绪"_s);
    const QString endpoint = server.endpoint();
    ASSERT_EQ(storedEndpoint(), endpoint);

    for (const QString& bad : {u"127.0.0.1:11434"_s, u"ftp://127.0.0.1"_s, u"http://"_s,
                               u"not an address"_s, QString()}) {
        type(u"endpointField"_s, bad);
        EXPECT_TRUE(visible(u"endpointProblem"_s)) << bad.toStdString();
        EXPECT_TRUE(child<QLabel>(u"endpointProblem"_s)->text().contains(u"地址无效"_s));
        EXPECT_EQ(settings.endpoint().toString(), endpoint) << bad.toStdString();
        EXPECT_EQ(storedEndpoint(), endpoint) << bad.toStdString();
    }

    // A good address clears the message and is kept as the settings normalise it.
    const QString other = FakeModelServer::closedEndpoint();
    type(u"endpointField"_s, other + u"/"_s);
    EXPECT_FALSE(visible(u"endpointProblem"_s));
    EXPECT_EQ(storedEndpoint(), other);
    EXPECT_EQ(child<QLineEdit>(u"endpointField"_s)->text(), other);
    expectStatus(u"连不上翻译服务"_s);

    for (const QString& bad : {u"qwen 2.5"_s, u"   "_s}) {
        type(u"modelField"_s, bad);
        EXPECT_TRUE(visible(u"modelProblem"_s)) << bad.toStdString();
        EXPECT_EQ(settings.model(), kModel);
    }

    // A value stored elsewhere replaces what the field shows, refused text included.
    settings.setModel(u"llama3"_s);
    EXPECT_EQ(child<QLineEdit>(u"modelField"_s)->text(), u"llama3"_s);
    EXPECT_FALSE(visible(u"modelProblem"_s));
}

TEST_F(TranslationSectionTest, DownloadShowsProgressAndEndsReady) {
    slowDownload(10);
    present();
    expectStatus(u"模型未下载"_s);
    QList<int> shown;
    QObject::connect(child<QProgressBar>(u"downloadProgress"_s), &QProgressBar::valueChanged,
                     [&shown](int value) { shown.append(value); });

    click(u"downloadButton"_s);
    EXPECT_TRUE(QTest::qWaitFor([&] { return downloadUnderWay(); }));
    EXPECT_TRUE(child<QLabel>(u"progressText"_s)->text().startsWith(u"已下载 "_s));
    EXPECT_TRUE(visible(u"cancelButton"_s));
    EXPECT_FALSE(visible(u"downloadButton"_s));
    EXPECT_FALSE(visible(u"recheckButton"_s));

    expectStatus(u"已就绪"_s);
    EXPECT_FALSE(visible(u"downloadProgress"_s));
    EXPECT_TRUE(server.installed.contains(kModel));
    EXPECT_TRUE(std::is_sorted(shown.begin(), shown.end()));
    EXPECT_GE(std::count_if(shown.begin(), shown.end(), [](int v) { return v > 0 && v < 100; }), 3)
        << "the bar moves while the download runs";
}

TEST_F(TranslationSectionTest, DownloadThatDoesNotFinishSaysSo) {
    // Cancelled by the user.
    slowDownload(100);
    present();
    expectStatus(u"模型未下载"_s);
    click(u"downloadButton"_s);
    ASSERT_TRUE(QTest::qWaitFor([&] { return downloadUnderWay(); }));
    click(u"cancelButton"_s);
    expectStatus(u"模型未下载"_s);
    EXPECT_TRUE(hint().startsWith(u"已取消下载"_s)) << hint().toStdString();
    EXPECT_TRUE(visible(u"downloadButton"_s));
    EXPECT_FALSE(server.installed.contains(kModel));

    // Given up for another model: the check that follows is about the new one.
    click(u"downloadButton"_s);
    ASSERT_TRUE(QTest::qWaitFor([&] { return downloadUnderWay(); }));
    const int closedBefore = server.closedConnections();
    type(u"modelField"_s, u"llama3"_s);
    expectStatus(u"模型未下载"_s);
    EXPECT_TRUE(hint().contains(u"llama3"_s)) << hint().toStdString();
    EXPECT_FALSE(hint().contains(u"已取消"_s));
    EXPECT_TRUE(QTest::qWaitFor([&] { return server.closedConnections() > closedBefore; }))
        << "the old download's stream is dropped";

    // Refused by the server, with its reason.
    server.pullError = u"no space left on device"_s;
    server.pullStepsPerLayer = 2;
    click(u"downloadButton"_s);
    expectStatus(u"模型未下载"_s);
    EXPECT_TRUE(QTest::qWaitFor([&] { return hint().startsWith(u"下载没有完成："_s); }));
    EXPECT_TRUE(hint().contains(u"no space left on device"_s)) << hint().toStdString();
}

} // namespace
