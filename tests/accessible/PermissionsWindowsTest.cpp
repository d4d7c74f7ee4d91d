// The permissions page and the onboarding's grant button against the desktop's real
// accessibility switch: a grant given anywhere shows at once, and their buttons give it.
#include "capture/AccessibilityAuthorization.h"
#include "capture/PermissionCenter.h"
#include "harness/ManualTimers.h"
#include "harness/SettingsObjects.h"
#include "platform/linux/atspi/AtspiAccessibilityGrant.h"
#include "ui/onboarding/OnboardingWindow.h"
#include "ui/settings/SettingsWindow.h"

#include <QLabel>
#include <QProcess>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

// Flips the desktop's accessibility switch from another program, as its settings would.
bool setDesktopAccessibility(bool on) {
    return QProcess::execute(u"dbus-send"_s,
                             {u"--session"_s, u"--print-reply"_s, u"--dest=org.a11y.Bus"_s,
                              u"/org/a11y/bus"_s, u"org.freedesktop.DBus.Properties.Set"_s,
                              u"string:org.a11y.Status"_s, u"string:IsEnabled"_s,
                              on ? u"variant:boolean:true"_s : u"variant:boolean:false"_s}) == 0;
}

class PermissionsWindowsTest : public testing::Test {
protected:
    QTemporaryDir dir;
    SettingsObjects objects{dir.filePath(u"defaults.json"_s)};
    DefaultsStore& store = objects.store;
    EventLog& log = objects.log;
    TriggerSettings& triggers = objects.triggers;
    InterfaceSettings& interface = objects.interface;
    // The grant, its watcher and the permission center, wired as the coordinator wires them.
    AtspiAccessibilityGrant grant;
    ManualTimers timers;
    AccessibilityAuthorization authorization{grant, log, timers};
    PermissionCenter permissions{{.system = grant,
                                  .accessibility = authorization,
                                  .store = store,
                                  .triggers = triggers,
                                  .log = log,
                                  .notify = {},
                                  .presentPrompt = {},
                                  .openPermissionsPage = {}}};
    std::unique_ptr<SettingsWindow> window;

    void SetUp() override {
        grant.setChangeHandler([this] { authorization.systemChanged(); });
        SettingsContext context = objects.context();
        context.permissions = &permissions;
        context.accessibility = &authorization;
        window = std::make_unique<SettingsWindow>(context);
    }

    // A capability's card on the permissions page.
    QWidget* card(const QWidget* window, const QString& capability) const {
        auto* found = window->findChild<QWidget*>(u"capability."_s + capability);
        EXPECT_NE(found, nullptr) << capability.toStdString();
        return found;
    }
    QString state(const QWidget* window, const QString& capability) const {
        return card(window, capability)->findChild<QLabel*>(u"capabilityState"_s)->text();
    }
    QPushButton* fix(const QWidget* window, const QString& capability) const {
        return card(window, capability)->findChild<QPushButton*>(u"capabilityFix"_s);
    }
    bool becomes(const QWidget* window, const QString& capability, const QString& wanted) const {
        return QTest::qWaitFor([&] { return state(window, capability) == wanted; }, 5000);
    }
    bool storedAsked() const {
        return DefaultsStore(store.filePath()).boolValue(u"permission.asked.accessibility"_s);
    }
};

} // namespace

TEST_F(PermissionsWindowsTest, AGrantGivenWhileThePageIsOpenShowsAtOnce) {
    window->present(SettingsPage::permissions);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    EXPECT_EQ(state(window.get(), u"accessibility"_s), u"未开启"_s);
    EXPECT_TRUE(fix(window.get(), u"accessibility"_s)->isVisible());

    ASSERT_TRUE(setDesktopAccessibility(true));
    EXPECT_TRUE(becomes(window.get(), u"accessibility"_s, u"已开启"_s));
    EXPECT_FALSE(fix(window.get(), u"accessibility"_s)->isVisible());

    ASSERT_TRUE(setDesktopAccessibility(false));
    EXPECT_TRUE(becomes(window.get(), u"accessibility"_s, u"未开启"_s));
    EXPECT_TRUE(fix(window.get(), u"accessibility"_s)->isVisible());
    EXPECT_FALSE(storedAsked()) << "the program itself never asked";
}

TEST_F(PermissionsWindowsTest, ThePagesButtonSwitchesTheDesktopsAccessibilityOn) {
    window->present(SettingsPage::permissions);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    QTest::mouseClick(fix(window.get(), u"accessibility"_s), Qt::LeftButton);
    EXPECT_TRUE(becomes(window.get(), u"accessibility"_s, u"已开启"_s));
    EXPECT_TRUE(grant.isGranted(SystemPermissions::Kind::accessibility));
    EXPECT_TRUE(storedAsked());
}

TEST_F(PermissionsWindowsTest, TheOnboardingAsksForTheGrantItExplains) {
    OnboardingWindow onboarding({.interface = interface,
                                 .triggers = triggers,
                                 .lookUp = {},
                                 .permissions = &permissions,
                                 .accessibility = &authorization,
                                 .openSettings = {}});
    onboarding.show();
    window->present(SettingsPage::permissions);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&onboarding));
    EXPECT_EQ(state(&onboarding, u"accessibility"_s), u"未开启"_s);

    QTest::mouseClick(fix(&onboarding, u"accessibility"_s), Qt::LeftButton);
    EXPECT_TRUE(becomes(&onboarding, u"accessibility"_s, u"已开启"_s));
    EXPECT_TRUE(becomes(window.get(), u"accessibility"_s, u"已开启"_s)) << "one grant, one state";
    EXPECT_TRUE(storedAsked());
}

TEST_F(PermissionsWindowsTest, AMissingTranslationModelLeadsToItsPage) {
    window->present(SettingsPage::permissions);
    EXPECT_EQ(state(window.get(), u"translationModel"_s), u"连不上翻译服务"_s);
    QTest::mouseClick(fix(window.get(), u"translationModel"_s), Qt::LeftButton);
    EXPECT_EQ(window->currentPage(), SettingsPage::dictionaries);
}
