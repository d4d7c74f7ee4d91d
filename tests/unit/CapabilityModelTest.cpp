#include "core/CapabilityModel.h"

#include "capture/AccessibilityAuthorization.h"
#include "capture/PermissionCenter.h"
#include "harness/ManualTimers.h"
#include "harness/ScriptedPermissions.h"
#include "harness/ScriptedTranslator.h"
#include "logs/EventLog.h"
#include "platform/ScreenText.h"
#include "settings/DefaultsStore.h"
#include "settings/TriggerSettings.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

using Id = Capability::Id;
using Fix = Capability::Fix;
using Kind = SystemPermissions::Kind;

class CapabilityModelTest : public testing::Test {
protected:
    QTemporaryDir dir;
    DefaultsStore store{dir.filePath(u"defaults.json"_s)};
    EventLog log{{}, false};
    TriggerSettings triggers{store};
    ManualTimers timers;
    ScriptedPermissions system;
    AccessibilityAuthorization authorization{system, log, timers};
    PermissionCenter permissions{{.system = system,
                                  .accessibility = authorization,
                                  .store = store,
                                  .triggers = triggers,
                                  .log = log,
                                  .notify = {},
                                  .presentPrompt = {},
                                  .openPermissionsPage = {}}};
    ScriptedTranslator translator;

    CapabilityModelTest() {
        system.set(Kind::screenRecording, true);
        translator.status = TranslationAssetStatus::unsupported;
        system.setChangeHandler([this] { authorization.systemChanged(); });
    }

    std::unique_ptr<CapabilityModel> model(DesktopSession session = DesktopSession::x11) {
        return std::make_unique<CapabilityModel>(
            CapabilityModel::Sources{.session = session,
                                     .permissions = &permissions,
                                     .accessibility = &authorization,
                                     .translator = &translator});
    }
};

} // namespace

TEST_F(CapabilityModelTest, AskingRemembersItAndThenSaysWhereTheGrantIsGiven) {
    const auto capabilities = model();
    const QString before = capabilities->capability(Id::accessibility).explanation;
    QSignalSpy changes(capabilities.get(), &CapabilityModel::changed);

    capabilities->askForGrant(Id::accessibility);
    EXPECT_EQ(system.requests, QList<Kind>{Kind::accessibility});
    EXPECT_TRUE(DefaultsStore(store.filePath()).boolValue(u"permission.asked.accessibility"_s));
    // The system did not answer: the page must not keep offering the same words.
    EXPECT_EQ(changes.count(), 1);
    const Capability after = capabilities->capability(Id::accessibility);
    EXPECT_NE(after.explanation, before);
    EXPECT_EQ(after.fix, Fix::askForGrant);
}

TEST_F(CapabilityModelTest, WhatTheProgramCannotChangeOffersNoFix) {
    // Wayland: the X11 adapter answers "granted" for the screen there, yet nothing can read it.
    const auto wayland = model(DesktopSession::wayland);
    EXPECT_FALSE(wayland->capability(Id::screenRecording).works);
    EXPECT_FALSE(wayland->capability(Id::session).works);
    EXPECT_TRUE(wayland->capability(Id::session).explanation.contains(u"复制查询照常可用"_s));
    EXPECT_TRUE(wayland->lines().contains(u"桌面会话：Wayland"_s));

    system.sandboxed = true;
    EXPECT_EQ(model()->capability(Id::accessibility).fix, Fix::none);

    const CapabilityModel bare({.session = DesktopSession::other});
    for (const Capability& capability : bare.all()) {
        EXPECT_FALSE(capability.works) << capability.name.toStdString();
        EXPECT_EQ(capability.fix, Fix::none) << capability.name.toStdString();
    }
}

TEST_F(CapabilityModelTest, TheTranslationModelFollowsTheTranslatorAndLeadsToItsSettings) {
    const auto capabilities = model();
    QSignalSpy changes(capabilities.get(), &CapabilityModel::changed);
    Capability translation = capabilities->capability(Id::translationModel);
    EXPECT_EQ(translation.state, u"连不上翻译服务"_s);
    EXPECT_EQ(translation.fix, Fix::showTranslationSettings);

    translator.become(TranslationAssetStatus::supportedNotDownloaded);
    EXPECT_EQ(capabilities->capability(Id::translationModel).state, u"模型未下载"_s);
    EXPECT_EQ(capabilities->capability(Id::translationModel).fix, Fix::showTranslationSettings);

    translator.become(TranslationAssetStatus::installed);
    EXPECT_EQ(changes.count(), 2);
    translation = capabilities->capability(Id::translationModel);
    EXPECT_TRUE(translation.works);
    EXPECT_EQ(translation.fix, Fix::none);
}

TEST_F(CapabilityModelTest, RecognitionDataSaysWhatToInstallWhenMissing) {
    class Screen final : public ScreenText {
    public:
        bool installed = true;
        bool hasEngine() const override { return installed; }
        void prepare() override {}
        void release() override {}
        QCoro::Task<Outcome> read(QRect, Layout, std::chrono::milliseconds) override {
            co_return Outcome(Failure::engineMissing);
        }
    } screen;
    const CapabilityModel capabilities(
        {.session = DesktopSession::x11, .permissions = &permissions, .screenText = &screen});
    EXPECT_TRUE(capabilities.capability(Id::recognitionData).works);
    EXPECT_TRUE(capabilities.lines().contains(u"文字识别数据：已安装"_s));
    screen.installed = false;
    const Capability missing = capabilities.capability(Id::recognitionData);
    EXPECT_FALSE(missing.works);
    EXPECT_TRUE(missing.explanation.contains(u"tesseract-ocr-eng"_s));
}
