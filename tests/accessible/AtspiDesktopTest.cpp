// The AT-SPI reader and the accessibility grant on the private desktop, in the cases only a
// real accessibility bus has: applications that hang or go away, huge and broken text,
// toolkits that nest their password entries, and a launcher that quits.
#include "harness/AccessibleOutcomes.h"
#include "harness/TextWindow.h"
#include "platform/linux/atspi/AtspiAccessibilityGrant.h"
#include "platform/linux/atspi/AtspiSelectionReader.h"

#include <QCoroTask>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QElapsedTimer>
#include <QTest>
#include <QTimer>
#include <csignal>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Miss = AccessibleSelectionReader::Miss;
using Read = AccessibleSelectionReader::Read;
using Outcome = AccessibleSelectionReader::Outcome;

namespace {

constexpr auto limit = 250ms;

class AtspiReaderDesktop : public testing::Test {
protected:
    TextWindow window;
    qint64 frontmost = 0;
    AtspiSelectionReader reader{[this] {
        return frontmost;
    }};

    void SetUp() override {
        ASSERT_TRUE(window.start());
        frontmost = window.pid();
    }

    Outcome read(std::chrono::milliseconds within = limit) {
        return outcomeOf(reader.read(within));
    }
    // What the application says may reach the bus after it said it was done.
    QString textOnceRead(std::chrono::milliseconds within = limit) {
        QString text;
        (void)QTest::qWaitFor(
            [&] {
                const Outcome outcome = read(within);
                text = std::holds_alternative<Read>(outcome) ? std::get<Read>(outcome).text
                                                             : QString();
                return !text.isEmpty();
            },
            10000);
        return text;
    }
    Outcome missOnceSeen(Miss expected) {
        Outcome outcome;
        (void)QTest::qWaitFor([&] { return (outcome = read()) == Outcome(expected); }, 5000);
        return outcome;
    }
};

} // namespace

TEST_F(AtspiReaderDesktop, AFieldInsideAPasswordEntryIsAPasswordField) {
    // GTK 4 puts an ordinary text object inside its password entry.
    ASSERT_TRUE(window.command(u"focus nested"_s));
    EXPECT_EQ(missOnceSeen(Miss::passwordField), Outcome(Miss::passwordField));
}

TEST_F(AtspiReaderDesktop, TheFocusIsFoundWithoutHavingSeenItsEvents) {
    ASSERT_TRUE(window.command(u"select 4 9"_s));
    ASSERT_EQ(textOnceRead(), u"quick"_s);
    // A reader that starts now has heard of no focus: it searches the application in front.
    AtspiSelectionReader late([this] { return frontmost; });
    const Outcome outcome = outcomeOf(late.read(limit));
    ASSERT_TRUE(std::holds_alternative<Read>(outcome));
    EXPECT_EQ(std::get<Read>(outcome).text, u"quick"_s);
    EXPECT_TRUE(std::get<Read>(outcome).throughRange);
}

TEST_F(AtspiReaderDesktop, AStoppedApplicationIsNoFocusedWithinTheLimitAndTheLoopTurns) {
    ASSERT_TRUE(window.command(u"select 4 9"_s));
    ASSERT_EQ(textOnceRead(), u"quick"_s);
    ASSERT_TRUE(window.pause());
    int ticks = 0;
    QTimer ticker;
    QObject::connect(&ticker, &QTimer::timeout, [&] { ++ticks; });
    ticker.start(10);
    QElapsedTimer elapsed;
    elapsed.start();
    const Outcome outcome = read();
    const qint64 took = elapsed.elapsed();
    ticker.stop();
    ASSERT_TRUE(window.resume());
    EXPECT_EQ(outcome, Outcome(Miss::noFocused));
    EXPECT_GT(ticks, 0) << "the main loop stood still while the application did not answer";
    // A hang would take D-Bus's own 25 s; a few limits allow for a loaded machine.
    EXPECT_LT(took, 4 * limit.count());
    // Once it runs again it is read again.
    EXPECT_EQ(textOnceRead(), u"quick"_s);
}

TEST_F(AtspiReaderDesktop, AnApplicationThatQuitIsForgotten) {
    ASSERT_TRUE(window.command(u"select 4 9"_s));
    ASSERT_EQ(textOnceRead(), u"quick"_s);
    TextWindow next;
    ASSERT_TRUE(next.start());
    ASSERT_TRUE(next.command(u"select 10 15"_s));
    window.stop();
    frontmost = next.pid();
    EXPECT_EQ(textOnceRead(), u"brown"_s);
}

TEST_F(AtspiReaderDesktop, ThreeMegabytesAreReadWhole) {
    constexpr int size = 3'000'000;
    ASSERT_TRUE(window.command(u"fill %1"_s.arg(size)));
    ASSERT_TRUE(window.command(u"select 0 %1"_s.arg(size)));
    // Reading it takes the application longer than a word does.
    const QString text = textOnceRead(2000ms);
    ASSERT_EQ(text.size(), size);
    EXPECT_TRUE(text.startsWith(TextWindow::initialText()));
}

TEST_F(AtspiReaderDesktop, BrokenTextNeitherCrashesNorHangs) {
    for (const char* seed : {"1", "2", "3"}) {
        ASSERT_TRUE(window.command(u"garbage 20000 %1"_s.arg(QLatin1StringView(seed))));
        ASSERT_TRUE(window.command(u"select 0 20000"_s));
        read(); // any outcome will do, as long as there is one
    }
    ASSERT_TRUE(window.command(u"fill 200"_s));
    ASSERT_TRUE(window.command(u"select 4 9"_s));
    EXPECT_EQ(textOnceRead(), u"quick"_s);
}

// The launcher quitting takes the accessibility bus with it.
TEST(AtspiLauncherGone, TheGrantIsWithdrawnAndNothingIsRead) {
    AtspiAccessibilityGrant grant;
    int changes = 0;
    grant.setChangeHandler([&] { ++changes; });
    grant.request(SystemPermissions::Kind::accessibility);
    ASSERT_TRUE(QTest::qWaitFor([&] { return changes == 1; }, 5000));
    AtspiSelectionReader reader([] { return qint64(0); });
    TextWindow window;
    ASSERT_TRUE(window.start());
    ASSERT_TRUE(window.command(u"select 4 9"_s));
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return outcomeOf(reader.read(limit)) == Outcome(Read{u"quick"_s}); }, 5000));

    // The desktop session started the launcher and stops what is left of it.
    const auto launcher = QDBusConnection::sessionBus().interface()->servicePid(u"org.a11y.Bus"_s);
    ASSERT_TRUE(launcher.isValid());
    ASSERT_EQ(::kill(static_cast<pid_t>(launcher.value()), SIGTERM), 0);
    EXPECT_TRUE(QTest::qWaitFor([&] { return changes == 2; }, 5000));
    EXPECT_FALSE(grant.isGranted(SystemPermissions::Kind::accessibility));
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return outcomeOf(reader.read(limit)) == Outcome(Miss::noFocused); }, 5000));
}
