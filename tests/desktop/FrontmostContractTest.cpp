// What text capture relies on from the application in front, checked against the scripted
// fake the unit tests use and against the X11 adapter under a real window manager.
#include "X11TestInput.h"
#include "harness/ScriptedFrontmost.h"
#include "platform/linux/capture/X11FrontmostApplication.h"

#include <QProcess>
#include <QTest>
#include <QWidget>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

struct Scripted {
    static constexpr bool isScripted = true;
    ScriptedFrontmost frontmost;

    bool showForeign(const QString& className) {
        frontmost.bringForward(className.toLower(), className);
        return true;
    }
    bool showOwn() {
        frontmost.bringForward(u"quillet"_s, u"Quillet"_s, true);
        return true;
    }
    bool showNothing() {
        frontmost.application.reset();
        return true;
    }
};

bool activate(const QString& window) {
    return xdotool({u"windowactivate"_s, u"--sync"_s, window});
}

struct Desktop {
    static constexpr bool isScripted = false;
    XcbEventConnection connection;
    X11FrontmostApplication frontmost{connection};
    QProcess foreign;
    QWidget own;

    ~Desktop() {
        foreign.kill();
        foreign.waitForFinished();
    }
    // Another program's window, with the class asked for and its process id, which xmessage
    // leaves unsaid.
    bool showForeign(const QString& className) {
        foreign.start(u"xmessage"_s, {u"-name"_s, u"fixture"_s, u"a window in front"_s});
        QByteArray found;
        if (!foreign.waitForStarted() ||
            !xdotool({u"search"_s, u"--sync"_s, u"--classname"_s, u"fixture"_s}, &found))
            return false;
        const QString window = QString::fromLatin1(found.split('\n').first());
        return runTool(u"xprop"_s,
                       {u"-id"_s, window, u"-f"_s, u"_NET_WM_PID"_s, u"32c"_s, u"-set"_s,
                        u"_NET_WM_PID"_s, QString::number(foreign.processId())}) &&
               xdotool({u"set_window"_s, u"--class"_s, className, window}) && activate(window);
    }
    bool showOwn() {
        own.show();
        return QTest::qWaitForWindowExposed(&own) && activate(QString::number(own.winId()));
    }
    // Once the last window goes, none is active.
    bool showNothing() {
        foreign.kill();
        return foreign.waitForFinished() &&
               QTest::qWaitFor([&] { return !frontmost.current().has_value(); }, 5000);
    }
};

template <typename Bench> class FrontmostContract : public testing::Test {
protected:
    Bench bench;
    std::optional<FrontmostApplication::Application> current() const {
        return bench.frontmost.current();
    }
};

using Benches = testing::Types<Scripted, Desktop>;
TYPED_TEST_SUITE(FrontmostContract, Benches, ScriptedOrDesktop);

} // namespace

TYPED_TEST(FrontmostContract, anotherProgramsWindowIsNamedByItsClass) {
    ASSERT_TRUE(this->bench.showForeign(u"KeePassXC"_s));
    const auto application = this->current();
    ASSERT_TRUE(application);
    EXPECT_EQ(application->identifier, u"keepassxc"_s);
    EXPECT_EQ(application->name, u"KeePassXC"_s);
    EXPECT_NE(application->pid, 0);
    EXPECT_NE(application->pid, QCoreApplication::applicationPid());
    EXPECT_FALSE(application->isOwn);
}

TYPED_TEST(FrontmostContract, aWindowOfThisProgramIsItsOwn) {
    ASSERT_TRUE(this->bench.showOwn());
    const auto application = this->current();
    ASSERT_TRUE(application);
    EXPECT_TRUE(application->isOwn);
    EXPECT_FALSE(application->identifier.isEmpty());
}

TYPED_TEST(FrontmostContract, noActiveWindowIsNothing) {
    ASSERT_TRUE(this->bench.showForeign(u"Reader"_s));
    ASSERT_TRUE(this->bench.showNothing());
    EXPECT_FALSE(this->current().has_value());
}
