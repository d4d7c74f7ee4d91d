// The 「通用」 page driven through its widgets on a real X server: each setting reaches the
// settings file and comes back from it, switches without their grant are refused, and the
// lookup hot key's recorder against real X key grabs.
#include "SettingsPagesFixture.h"
#include "X11TestInput.h"
#include "capture/HotKeyCenter.h"
#include "harness/ForeignKeyGrab.h"
#include "platform/linux/capture/XcbHotKeys.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QDoubleSpinBox>
#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>

using namespace Qt::StringLiterals;

namespace {

using Method = TriggerSettings::Method;

const HotKeySpec kLookup = HotKeySpec::defaultLookup();
const HotKeySpec kControlOptionE{14, HotKeySpec::control | HotKeySpec::option};

class GeneralPageTest : public SettingsPagesTest {
protected:
    bool checked(const QString& name) const { return child<QAbstractButton>(name)->isChecked(); }
    QString comboText(const QString& name) const { return child<QComboBox>(name)->currentText(); }
    // What the refusal beside a switch says; empty while there is none.
    QString refusal(const QString& grant) const {
        return child(grant)->isVisible() ? part<QLabel>(grant, u"refusal"_s)->text() : QString();
    }
};

} // namespace

TEST_F(GeneralPageTest, EverySettingRoundTripsThroughTheFile) {
    permissions.set(Kind::accessibility, true);
    permissions.set(Kind::screenRecording, true);
    open(SettingsPage::general);

    struct Switch {
        QString name;
        QString key;
        bool initially;
    };
    for (const Switch& item :
         {Switch{u"speaksOnLookup"_s, u"speaksOnLookup"_s, false},
          Switch{u"showsIdleNotch"_s, u"panel.showsIdleNotch"_s, true},
          Switch{u"expandsOnNotchHover"_s, u"trigger.expandsOnNotchHover"_s, true},
          Switch{u"selectionLookup"_s, u"trigger.selectionEnabled"_s, false},
          Switch{u"pointerLookup"_s, u"trigger.pointerLookupEnabled"_s, false}}) {
        SCOPED_TRACE(item.name.toStdString());
        EXPECT_EQ(checked(item.name), item.initially);
        click(item.name);
        EXPECT_EQ(stored(item.key), QVariant(!item.initially));
        storeElsewhere({{item.key, item.initially}});
        EXPECT_EQ(checked(item.name), item.initially);
    }

    click(u"hotKeyMethod"_s);
    EXPECT_EQ(stored(u"trigger.method"_s), u"hotKey"_s);
    storeElsewhere({{u"trigger.method"_s, u"copy"_s}});
    EXPECT_TRUE(checked(u"copyMethod"_s));

    // The hover key by this system's names.
    EXPECT_EQ(comboText(u"pointerKey"_s), u"Alt"_s);
    QTest::keyClick(child(u"pointerKey"_s), Qt::Key_Down);
    EXPECT_EQ(stored(u"trigger.pointerKey"_s), u"control"_s);
    storeElsewhere({{u"trigger.pointerKey"_s, u"command"_s}});
    EXPECT_EQ(comboText(u"pointerKey"_s), u"Super"_s);

    auto* dwell = child<QDoubleSpinBox>(u"hoverDwell"_s);
    EXPECT_DOUBLE_EQ(dwell->value(), 0.3);
    QTest::keyClick(dwell, Qt::Key_Up);
    EXPECT_DOUBLE_EQ(stored(u"hoverDwellSeconds"_s).toDouble(), 0.35);
    storeElsewhere({{u"hoverDwellSeconds"_s, 1.5}});
    EXPECT_DOUBLE_EQ(dwell->value(), 1.5);

    EXPECT_EQ(comboText(u"reopenTarget"_s), u"设置"_s);
    QTest::keyClick(child(u"reopenTarget"_s), Qt::Key_Down);
    EXPECT_EQ(stored(u"reopenTarget"_s), u"notebook"_s);
    storeElsewhere({{u"reopenTarget"_s, u"settings"_s}});
    EXPECT_EQ(comboText(u"reopenTarget"_s), u"设置"_s);

    storeElsewhere({{u"trigger.hotKey"_s, kControlOptionE.toJson()}});
    EXPECT_EQ(child<QPushButton>(u"hotKeyButton"_s)->text(), u"Ctrl+Alt+E"_s);

    // The delay is fixed: a line of text, not a control.
    EXPECT_TRUE(child<QLabel>(u"autoHide"_s)->text().contains(u"5 秒"_s));
}

TEST_F(GeneralPageTest, LaunchAtLoginShowsWhatTheSystemHas) {
    const QString folder = QDir::homePath() + u"/.config/autostart"_s;
    const QString entry = folder + u"/quillet.desktop"_s;
    open(SettingsPage::general);
    EXPECT_FALSE(checked(u"launchAtLogin"_s));
    click(u"launchAtLogin"_s);
    EXPECT_TRUE(QFile::exists(entry));
    EXPECT_TRUE(checked(u"launchAtLogin"_s));

    // The entry's folder cannot be made: refused with the system's reason, and off.
    ASSERT_TRUE(QFile::remove(entry));
    ASSERT_TRUE(QDir(folder).removeRecursively());
    QFile blocker(folder);
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    window->hide();
    window->present(SettingsPage::general); // the page asks the system again
    EXPECT_FALSE(checked(u"launchAtLogin"_s));
    click(u"launchAtLogin"_s);
    EXPECT_FALSE(checked(u"launchAtLogin"_s));
    auto* failure = child<QLabel>(u"launchAtLoginFailure"_s);
    EXPECT_TRUE(failure->isVisible());
    EXPECT_TRUE(failure->text().startsWith(u"开机自启设置失败：无法创建文件夹"_s))
        << failure->text().toStdString();

    ASSERT_TRUE(QFile::remove(folder));
    click(u"launchAtLogin"_s);
    EXPECT_TRUE(checked(u"launchAtLogin"_s));
    EXPECT_FALSE(failure->isVisible());
    QDir(folder).removeRecursively();
}

TEST_F(GeneralPageTest, SwitchesWithoutTheirGrantAreRefusedUntilItComes) {
    open(SettingsPage::general);
    click(u"hotKeyMethod"_s);
    click(u"selectionLookup"_s);
    click(u"pointerLookup"_s);
    // Nothing moved, on screen or on disk, and each says why.
    EXPECT_TRUE(checked(u"copyMethod"_s));
    EXPECT_FALSE(checked(u"selectionLookup"_s));
    EXPECT_FALSE(checked(u"pointerLookup"_s));
    const QVariant nothing;
    EXPECT_EQ(stored(u"trigger.method"_s), nothing);
    EXPECT_EQ(stored(u"trigger.selectionEnabled"_s), nothing);
    EXPECT_EQ(stored(u"trigger.pointerLookupEnabled"_s), nothing);
    EXPECT_EQ(refusal(u"methodGrant"_s), u"授权后即切换为快捷键查询。"_s);
    EXPECT_EQ(refusal(u"selectionGrant"_s), u"授权后即开启划词查询。"_s);
    EXPECT_EQ(refusal(u"pointerGrant"_s), u"授权后即开启悬停取词。"_s);

    QTest::mouseClick(part<QPushButton>(u"selectionGrant"_s, u"grantButton"_s), Qt::LeftButton);
    EXPECT_EQ(permissions.requests, QList<Kind>{Kind::accessibility});
    EXPECT_EQ(stored(u"permission.asked.accessibility"_s), true);

    // The grant arrives while the page is open: what waited for it comes on, by itself.
    permissions.set(Kind::accessibility, true);
    EXPECT_TRUE(checked(u"hotKeyMethod"_s));
    EXPECT_TRUE(checked(u"selectionLookup"_s));
    EXPECT_EQ(stored(u"trigger.method"_s), u"hotKey"_s);
    EXPECT_EQ(refusal(u"methodGrant"_s), QString());
    EXPECT_EQ(refusal(u"selectionGrant"_s), QString());
    EXPECT_EQ(refusal(u"pointerGrant"_s), u"授权后即开启悬停取词。"_s);
}

// The recorder against the X server's key grabs: the program's own (the hot-key service,
// bound as the coordinator binds it) and another client's.
class HotKeyRecorderTest : public GeneralPageTest {
protected:
    void SetUp() override {
        permissions.set(Kind::accessibility, true);
        ASSERT_TRUE(connection.isValid());
    }

    // Binds the lookup slot whenever the settings change, as the coordinator does: while the
    // method is the hot key and the grant is there.
    void bindAsTheCoordinator() {
        const auto bind = [this] {
            const bool runs = triggers.method() == Method::hotKey && accessibility.isTrusted();
            hotKeys.bind(HotKeySlotID::lookup, runs ? triggers.hotKey() : std::nullopt, false,
                         [] {});
        };
        QObject::connect(&triggers, &TriggerSettings::changed, &triggers, bind);
        bind();
    }

    void press(const QString& combination) { ASSERT_TRUE(xdotool({u"key"_s, combination})); }
    QString text(const QString& name) const {
        auto* label = child<QLabel>(name);
        return label->isVisible() ? label->text() : QString();
    }
    bool recording() const { return text(u"hotKeyHint"_s) == u"按下所需组合，按 Esc 取消"_s; }
    void waitUntilIdle() const {
        EXPECT_TRUE(
            QTest::qWaitFor([this] { return text(u"hotKeyHint"_s) == u"点按后按下所需组合"_s; }));
    }
    QString shown() const { return child<QPushButton>(u"hotKeyButton"_s)->text(); }
    std::optional<HotKeySpec> storedHotKey() const {
        return HotKeySpec::fromJson(stored(u"trigger.hotKey"_s).toByteArray());
    }

    XcbEventConnection connection;
    XcbHotKeys keys{connection};
    HotKeyCenter hotKeys{keys, log};
    ForeignKeyGrab foreign;
};

TEST_F(HotKeyRecorderTest, FollowsTheRecordingRules) {
    triggers.setMethod(Method::hotKey);
    bindAsTheCoordinator();
    ASSERT_TRUE(hotKeys.isRegistered(HotKeySlotID::lookup, kLookup));
    open(SettingsPage::general, &hotKeys);
    EXPECT_EQ(shown(), u"Ctrl+Alt+Super+D"_s);
    EXPECT_EQ(text(u"hotKeyHint"_s), u"点按后按下所需组合"_s);

    click(u"hotKeyButton"_s);
    EXPECT_TRUE(recording());
    press(u"Escape"_s);
    waitUntilIdle();
    EXPECT_EQ(shown(), u"Ctrl+Alt+Super+D"_s);

    click(u"hotKeyButton"_s);
    press(u"shift+d"_s);
    EXPECT_TRUE(QTest::qWaitFor(
        [this] { return text(u"hotKeyMessage"_s) == u"至少需包含 Ctrl、Alt、Super 之一"_s; }));
    EXPECT_TRUE(recording());

    // Its own combination, which the program's grab holds, is accepted again.
    press(u"ctrl+alt+super+d"_s);
    waitUntilIdle();
    EXPECT_EQ(text(u"hotKeyMessage"_s), QString());
    EXPECT_EQ(storedHotKey(), kLookup);
    EXPECT_TRUE(hotKeys.isRegistered(HotKeySlotID::lookup, kLookup));

    click(u"hotKeyButton"_s);
    press(u"ctrl+alt+e"_s);
    waitUntilIdle();
    EXPECT_EQ(shown(), u"Ctrl+Alt+E"_s);
    EXPECT_EQ(storedHotKey(), kControlOptionE);
    EXPECT_TRUE(hotKeys.isRegistered(HotKeySlotID::lookup, kControlOptionE));
}

TEST_F(HotKeyRecorderTest, ACombinationAnotherClientHoldsIsTaken) {
    ASSERT_TRUE(
        foreign.grab(kControlOptionE.keyCode, XcbHotKeys::xModifiers(kControlOptionE.modifiers)));
    open(SettingsPage::general, &hotKeys);
    click(u"hotKeyButton"_s);
    // The recorder holds the keyboard, so the other client's grab does not take the press.
    press(u"ctrl+alt+e"_s);
    EXPECT_TRUE(
        QTest::qWaitFor([this] { return text(u"hotKeyMessage"_s) == u"Ctrl+Alt+E 已被占用"_s; }));
    EXPECT_TRUE(recording());
    EXPECT_EQ(storedHotKey(), kLookup);
    press(u"Escape"_s);
    waitUntilIdle();
    EXPECT_EQ(text(u"hotKeyMessage"_s), QString());
}

TEST_F(HotKeyRecorderTest, AStoredCombinationTheSystemRefusedIsMarked) {
    ASSERT_TRUE(foreign.grab(kLookup.keyCode, XcbHotKeys::xModifiers(kLookup.modifiers)));
    triggers.setMethod(Method::hotKey);
    bindAsTheCoordinator();
    open(SettingsPage::general, &hotKeys);
    EXPECT_EQ(text(u"hotKeyWarning"_s), u"已被其他 App 占用"_s);
    EXPECT_EQ(text(u"hotKeyWarningHelp"_s),
              u"该组合已被其他 App 占用，按下不会有响应。请更换组合。"_s);

    // Looking up by copying, nothing is meant to hold it.
    click(u"copyMethod"_s);
    EXPECT_EQ(text(u"hotKeyWarning"_s), QString());
    click(u"hotKeyMethod"_s);
    EXPECT_EQ(text(u"hotKeyWarning"_s), u"已被其他 App 占用"_s);

    click(u"hotKeyButton"_s);
    EXPECT_EQ(text(u"hotKeyWarning"_s), QString()) << "not while recording";
    press(u"ctrl+alt+e"_s);
    waitUntilIdle();
    EXPECT_EQ(text(u"hotKeyWarning"_s), QString());
    EXPECT_TRUE(hotKeys.isRegistered(HotKeySlotID::lookup, kControlOptionE));
}
