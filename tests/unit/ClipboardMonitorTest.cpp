#include "capture/ClipboardMonitor.h"

#include "harness/QtPrinters.h"
#include "harness/ScriptedPasteboard.h"

#include <QList>
#include <QTest>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Method = TriggerSettings::Method;

static void PrintTo(const ClipboardChange& change, std::ostream* out) {
    *out << '{' << testing::PrintToString(change.text) << (change.isConcealed ? ", concealed" : "")
         << (change.isRemote ? ", remote" : "") << '}';
}

namespace {

class ClipboardMonitorTest : public testing::Test {
protected:
    ScriptedPasteboard pasteboard;
    ClipboardMonitor monitor{pasteboard};
    QList<ClipboardChange> reports;

    void SetUp() override {
        monitor.onChange = [this](const ClipboardChange& change) {
            reports << change;
        };
    }
    QStringList reportedTexts() const {
        QStringList texts;
        for (const ClipboardChange& change : reports)
            texts << change.text;
        return texts;
    }
};

} // namespace

TEST_F(ClipboardMonitorTest, contentOnTheClipboardAtStartIsNeverReported) {
    pasteboard.copyText(u"already there"_s);
    monitor.start();
    monitor.poll();
    EXPECT_TRUE(reports.isEmpty());

    // A restart takes the clipboard as it is then, too.
    pasteboard.copyText(u"copied while running"_s);
    monitor.start();
    monitor.poll();
    EXPECT_TRUE(reports.isEmpty());

    pasteboard.copyText(u"  water \n"_s);
    monitor.poll();
    EXPECT_EQ(reports, (QList<ClipboardChange>{{u"  water \n"_s, false, false}}));
}

TEST_F(ClipboardMonitorTest, everyCopyIsReportedOnceEvenOfTheSameText) {
    monitor.start();
    pasteboard.copyText(u"water"_s);
    monitor.poll();
    monitor.poll();
    pasteboard.copyText(u"water"_s);
    monitor.poll();
    EXPECT_EQ(reportedTexts(), (QStringList{u"water"_s, u"water"_s}));
}

TEST_F(ClipboardMonitorTest, twoCopiesWithinOnePeriodReportOnlyTheSecond) {
    monitor.start();
    pasteboard.copyText(u"first"_s);
    pasteboard.copyText(u"second"_s);
    monitor.poll();
    EXPECT_EQ(reportedTexts(), QStringList{u"second"_s});
}

TEST_F(ClipboardMonitorTest, contentWithoutTextIsConsumedSilently) {
    monitor.start();
    pasteboard.copyImage();
    monitor.poll();
    EXPECT_TRUE(reports.isEmpty());

    // Taken as seen: later quiet polls read nothing, and text copied next is reported.
    const int reads = pasteboard.contentReads();
    monitor.poll();
    monitor.poll();
    EXPECT_EQ(pasteboard.contentReads(), reads);
    pasteboard.copyText(u"after the image"_s);
    monitor.poll();
    EXPECT_EQ(reportedTexts(), QStringList{u"after the image"_s});
}

TEST_F(ClipboardMonitorTest, markersComeFromTheDeclaredTypes) {
    struct Case {
        const char* name;
        ScriptedPasteboard::Content extra;
        bool concealed;
        bool remote;
    };
    const QList<Case> cases = {
        {"plain", {}, false, false},
        {"concealed type", {{u"org.nspasteboard.ConcealedType"_s, {}}}, true, false},
        {"transient type", {{u"org.nspasteboard.TransientType"_s, {}}}, true, false},
        {"password manager secret", {{u"x-kde-passwordManagerHint"_s, "secret"}}, true, false},
        {"password manager, not secret",
         {{u"x-kde-passwordManagerHint"_s, "public"}},
         false,
         false},
        {"secret as data of another type", {{u"application/x-note"_s, "secret"}}, false, false},
        {"other device", {{u"com.apple.is-remote-clipboard"_s, {}}}, false, true},
        {"secret from another device",
         {{u"org.nspasteboard.ConcealedType"_s, {}}, {u"com.apple.is-remote-clipboard"_s, {}}},
         true,
         true},
    };
    monitor.start();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        reports.clear();
        pasteboard.copyText(u"hunter2"_s, c.extra);
        monitor.poll();
        EXPECT_EQ(reports, (QList<ClipboardChange>{{u"hunter2"_s, c.concealed, c.remote}}));
    }
}

TEST_F(ClipboardMonitorTest, pauseAndResumeFollowTheTriggerMethod) {
    struct Case {
        Method method;
        bool runsAgain;
    };
    for (const Case c : {Case{Method::copy, true}, Case{Method::hotKey, false}}) {
        SCOPED_TRACE(TriggerSettings::rawValue(c.method).toStdString());
        reports.clear();
        monitor.start();
        monitor.pause();
        EXPECT_FALSE(monitor.isRunning());
        pasteboard.copyText(u"copied while paused"_s);
        monitor.resume(c.method);
        EXPECT_EQ(monitor.isRunning(), c.runsAgain);
        monitor.poll();
        EXPECT_TRUE(reports.isEmpty()) << "a copy made during the pause is never reported";
        pasteboard.copyText(u"copied after resuming"_s);
        monitor.poll();
        EXPECT_EQ(reports.size(), c.runsAgain ? 1 : 0);
    }
}

TEST_F(ClipboardMonitorTest, resumeWhileRunningKeepsPendingCopies) {
    monitor.start();
    pasteboard.copyText(u"pending"_s);
    monitor.resume(Method::copy);
    monitor.poll();
    EXPECT_EQ(reportedTexts(), QStringList{u"pending"_s});
}

TEST_F(ClipboardMonitorTest, theTimerPollsUntilPausedEvenFromInsideAReport) {
    ClipboardMonitor fast(pasteboard, 5ms);
    fast.onChange = [&](const ClipboardChange& change) {
        reports << change;
        fast.pause();
    };
    fast.start();
    pasteboard.copyText(u"by timer"_s);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !reports.isEmpty(); }, 2000));
    EXPECT_FALSE(fast.isRunning());

    pasteboard.copyText(u"after pause"_s);
    QTest::qWait(50);
    EXPECT_EQ(reportedTexts(), QStringList{u"by timer"_s});
}

TEST_F(ClipboardMonitorTest, ownWritesAreNeverReported) {
    for (const bool announcedLate : {false, true}) {
        SCOPED_TRACE(announcedLate ? "announced late" : "announced at once");
        pasteboard.setAnnouncesOwnWritesLate(announcedLate);
        monitor.start();
        monitor.writeText(u"from the panel"_s);
        monitor.poll();
        pasteboard.deliverLateNotices();
        monitor.poll();
        EXPECT_EQ(pasteboard.plainText(), u"from the panel"_s);
        EXPECT_TRUE(reports.isEmpty());
    }
}

TEST_F(ClipboardMonitorTest, copiesAfterAnOwnWriteAreReported) {
    pasteboard.setAnnouncesOwnWritesLate(true);
    monitor.start();

    // Another program copies before our write is announced: its text is news.
    monitor.writeText(u"ours"_s);
    pasteboard.deliverLateNotices();
    pasteboard.copyText(u"theirs"_s);
    monitor.poll();
    EXPECT_EQ(reportedTexts(), QStringList{u"theirs"_s});

    // Once the clipboard has stayed quiet for a few polls, the user copying our text counts.
    reports.clear();
    pasteboard.setAnnouncesOwnWritesLate(false);
    monitor.writeText(u"ours"_s);
    for (int i = 0; i < 3; ++i)
        monitor.poll();
    pasteboard.copyText(u"ours"_s);
    monitor.poll();
    EXPECT_EQ(reportedTexts(), QStringList{u"ours"_s});
}
