// What the simulated copy relies on from synthesised keys, checked against the scripted fake
// the unit tests use and against XTEST on a real X server with a real text field.
#include "X11TestInput.h"
#include "harness/ScriptedKeys.h"
#include "platform/linux/capture/XTestKeySynthesizer.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QLineEdit>
#include <QTest>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

// The application in front copies its selection to this clipboard.
struct Scripted {
    static constexpr bool isScripted = true;
    ScriptedKeys keys;
    QString clipboard;
    QString selection;

    Scripted() {
        keys.onCopy = [this] {
            clipboard = selection;
        };
    }
    bool selectInFocusedField(const QString& text) {
        selection = text;
        return true;
    }
    QString clipboardText() const { return clipboard; }
    bool holdShift() {
        keys.modifierLooksHeld = keys.modifierLooks() + 1000;
        return true;
    }
    bool releaseShift() {
        keys.modifierLooksHeld = keys.modifierLooks();
        return true;
    }
};

struct Desktop {
    static constexpr bool isScripted = false;
    XcbEventConnection connection;
    XTestKeySynthesizer keys{connection};
    QLineEdit field;

    bool selectInFocusedField(const QString& text) {
        field.setText(text);
        field.selectAll();
        field.show();
        if (!QTest::qWaitForWindowExposed(&field) ||
            !xdotool({u"windowactivate"_s, u"--sync"_s, QString::number(field.winId())}))
            return false;
        return QTest::qWaitFor([&] { return field.hasFocus(); }, 5000);
    }
    QString clipboardText() const { return QGuiApplication::clipboard()->text(); }
    bool holdShift() { return xdotool({u"keydown"_s, u"shift"_s}); }
    bool releaseShift() { return xdotool({u"keyup"_s, u"shift"_s}); }
};

template <typename Bench> class KeySynthesizerContract : public testing::Test {
protected:
    Bench bench;
};

using Benches = testing::Types<Scripted, Desktop>;
TYPED_TEST_SUITE(KeySynthesizerContract, Benches, ScriptedOrDesktop);

} // namespace

TYPED_TEST(KeySynthesizerContract, modifiersAreHeldWhileShiftIsDown) {
    EXPECT_FALSE(this->bench.keys.modifiersHeld());
    ASSERT_TRUE(this->bench.holdShift());
    EXPECT_TRUE(this->bench.keys.modifiersHeld());
    ASSERT_TRUE(this->bench.releaseShift());
    EXPECT_FALSE(this->bench.keys.modifiersHeld());
}

TYPED_TEST(KeySynthesizerContract, theCopyPutsTheFocusedSelectionOnTheClipboard) {
    const QString text = u"a sentence to look up"_s;
    ASSERT_TRUE(this->bench.selectInFocusedField(text));
    ASSERT_TRUE(this->bench.keys.sendCopy());
    EXPECT_TRUE(QTest::qWaitFor([&] { return this->bench.clipboardText() == text; }, 5000))
        << this->bench.clipboardText().toStdString();
}

// The desktop alone.

TEST(XTestKeySynthesizer, theCopyLeavesNoKeyDownAndTypesNothing) {
    Desktop bench;
    ASSERT_TRUE(bench.selectInFocusedField(u"unchanged"_s));
    ASSERT_TRUE(bench.keys.sendCopy());
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return QGuiApplication::clipboard()->text() == u"unchanged"_s; }, 5000));
    EXPECT_FALSE(bench.keys.modifiersHeld()) << "Control was left down";
    EXPECT_EQ(bench.field.text(), u"unchanged"_s) << "a bare c was typed";
}

TEST(XTestKeySynthesizer, everyHeldModifierCountsAndLocksDoNot) {
    Desktop bench;
    ASSERT_TRUE(xdotool({u"key"_s, u"Caps_Lock"_s, u"Num_Lock"_s}));
    EXPECT_FALSE(bench.keys.modifiersHeld());
    for (const QString& modifier : {u"ctrl"_s, u"alt"_s, u"super"_s}) {
        SCOPED_TRACE(modifier.toStdString());
        ASSERT_TRUE(xdotool({u"keydown"_s, modifier}));
        EXPECT_TRUE(bench.keys.modifiersHeld());
        ASSERT_TRUE(xdotool({u"keyup"_s, modifier}));
    }
}
