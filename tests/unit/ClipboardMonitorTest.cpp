#include "capture/ClipboardMonitor.h"

#include "harness/QtPrinters.h"
#include "harness/ScriptedPasteboard.h"

#include <QList>
#include <QTest>
#include <functional>
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

TEST_F(ClipboardMonitorTest, eachChangeWithTextIsReportedOnce) {
    monitor.start();
    pasteboard.copyText(u"water"_s);
    monitor.poll();
    monitor.poll();
    pasteboard.copyText(u"water"_s); // the same text again is a new copy
    monitor.poll();
    pasteboard.copyText(u"first"_s); // two copies within one period: only the second
    pasteboard.copyText(u"second"_s);
    monitor.poll();
    EXPECT_EQ(reportedTexts(), (QStringList{u"water"_s, u"water"_s, u"second"_s}));

    // Content without text is taken as seen: quiet polls after it read nothing.
    reports.clear();
    pasteboard.copyImage();
    monitor.poll();
    const int reads = pasteboard.contentReads();
    monitor.poll();
    EXPECT_EQ(pasteboard.contentReads(), reads);
    pasteboard.copyText(u"after the image"_s);
    monitor.poll();
    EXPECT_EQ(reportedTexts(), QStringList{u"after the image"_s});
}

TEST_F(ClipboardMonitorTest, markersComeFromTheDeclaredTypes) {
    const QString kConcealed = u"org.nspasteboard.ConcealedType"_s;
    const struct {
        const char* name;
        ScriptedPasteboard::Content extra;
        bool concealed;
        bool remote;
    } cases[] = {
        {"plain", {}, false, false},
        {"concealed", {{kConcealed, {}}}, true, false},
        {"transient", {{u"org.nspasteboard.TransientType"_s, {}}}, true, false},
        {"hint: secret", {{u"x-kde-passwordManagerHint"_s, "secret"}}, true, false},
        {"hint: public", {{u"x-kde-passwordManagerHint"_s, "public"}}, false, false},
        {"other type: secret", {{u"application/x-note"_s, "secret"}}, false, false},
        {"other device", {{u"com.apple.is-remote-clipboard"_s, {}}}, false, true},
        {"both", {{kConcealed, {}}, {u"com.apple.is-remote-clipboard"_s, {}}}, true, true},
    };
    monitor.start();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        reports.clear();
        pasteboard.copyText(u"hunter2"_s, c.extra);
        monitor.poll();
        EXPECT_EQ(reports, (QList<ClipboardChange>{{u"hunter2"_s, c.concealed, c.remote}}));
    }
}

TEST_F(ClipboardMonitorTest, pauseAndResumeFollowTheTriggerMethod) {
    monitor.start();
    pasteboard.copyText(u"pending"_s);
    monitor.resume(Method::copy); // already running: what is pending stays pending
    monitor.poll();
    EXPECT_EQ(reportedTexts(), QStringList{u"pending"_s});

    reports.clear();
    monitor.pause();
    pasteboard.copyText(u"copied while paused"_s);
    monitor.resume(Method::hotKey);
    EXPECT_FALSE(monitor.isRunning()) << "copying is not how the user looks things up";
    monitor.resume(Method::copy);
    EXPECT_TRUE(monitor.isRunning());
    monitor.poll();
    EXPECT_TRUE(reports.isEmpty()) << "a copy made during the pause is never reported";
    pasteboard.copyText(u"copied after resuming"_s);
    monitor.poll();
    EXPECT_EQ(reportedTexts(), QStringList{u"copied after resuming"_s});
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

TEST_F(ClipboardMonitorTest, ownWritesAreNeverReportedButLaterCopiesAre) {
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

TEST_F(ClipboardMonitorTest, whatEveryChangeReadIsForgottenAfterItsHandling) {
    int unforgottenDuringReport = -1;
    monitor.onChange = [&](const ClipboardChange& change) {
        reports << change;
        unforgottenDuringReport = pasteboard.unforgottenReads();
    };
    monitor.start();
    const struct {
        const char* name;
        std::function<void()> change;
    } cases[] = {
        {"reported text",
         [&] {
             pasteboard.copyText(u"water"_s);
         }},
        {"concealed text",
         [&] {
             pasteboard.copyText(u"hunter2"_s, {{u"org.nspasteboard.ConcealedType"_s, {}}});
         }},
        {"no text",
         [&] {
             pasteboard.copyImage();
         }},
        {"late notice of our own write",
         [&] {
             pasteboard.setAnnouncesOwnWritesLate(true);
             monitor.writeText(u"from the panel"_s);
             pasteboard.deliverLateNotices();
         }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        c.change();
        monitor.poll();
        EXPECT_EQ(pasteboard.unforgottenReads(), 0);
    }
    EXPECT_GT(unforgottenDuringReport, 0) << "forgotten before the handler had it";

    // Without a handler the content is still read, and forgotten.
    monitor.onChange = nullptr;
    pasteboard.copyText(u"nobody listens"_s);
    monitor.poll();
    EXPECT_GT(pasteboard.contentReads(), 0);
    EXPECT_EQ(pasteboard.unforgottenReads(), 0);
}

namespace {

// A clipboard that announces every change, watched with a poll too slow to ever fire here:
// whatever is reported was heard, not polled.
class AnnouncedClipboardMonitorTest : public testing::Test {
protected:
    ScriptedPasteboard pasteboard{true};
    ClipboardMonitor monitor{pasteboard, std::chrono::hours(1)};
    QStringList reports;

    void SetUp() override {
        monitor.onChange = [this](const ClipboardChange& change) {
            reports << change.text;
        };
        monitor.start();
    }
    // Lets the announcing code return, as the event loop does next, without time passing.
    static void afterAnnouncements() { QCoreApplication::sendPostedEvents(); }
};

} // namespace

TEST_F(AnnouncedClipboardMonitorTest, anAnnouncedChangeIsReportedOnceWithoutWaitingForThePoll) {
    pasteboard.copyText(u"water"_s);
    EXPECT_TRUE(reports.isEmpty()) << "checked inside the announcement";
    afterAnnouncements();
    EXPECT_EQ(reports, QStringList{u"water"_s});

    // The poll that follows finds nothing new, and neither does a second announcement.
    monitor.poll();
    afterAnnouncements();
    EXPECT_EQ(reports, QStringList{u"water"_s});

    // A burst before the event loop comes round: the latest content, once.
    pasteboard.copyText(u"first"_s);
    pasteboard.copyText(u"second"_s);
    afterAnnouncements();
    monitor.poll();
    EXPECT_EQ(reports, (QStringList{u"water"_s, u"second"_s}));
}

TEST_F(AnnouncedClipboardMonitorTest, announcementsNeitherReportOurOwnWritesNorWhatCameInAPause) {
    // Announced from inside the write, before the monitor noted the counter.
    monitor.writeText(u"from the panel"_s);
    afterAnnouncements();
    // Announced a turn later.
    pasteboard.setAnnouncesOwnWritesLate(true);
    monitor.writeText(u"late"_s);
    pasteboard.deliverLateNotices();
    afterAnnouncements();
    EXPECT_TRUE(reports.isEmpty());

    monitor.pause();
    pasteboard.copyText(u"copied while paused"_s);
    afterAnnouncements();
    monitor.resume(Method::copy);
    afterAnnouncements();
    EXPECT_TRUE(reports.isEmpty());

    pasteboard.copyText(u"late"_s); // the user copying our text is news
    afterAnnouncements();
    EXPECT_EQ(reports, QStringList{u"late"_s});
}

TEST(ClipboardMonitorListening, aQuietClipboardIsPolledAndAGoneMonitorIsNoLongerCalled) {
    ScriptedPasteboard quiet;
    QStringList reports;
    ClipboardMonitor polling(quiet, std::chrono::hours(1));
    polling.onChange = [&](const ClipboardChange& change) {
        reports << change.text;
    };
    polling.start();
    quiet.copyText(u"water"_s);
    QCoreApplication::sendPostedEvents();
    EXPECT_TRUE(reports.isEmpty());
    polling.poll();
    EXPECT_EQ(reports, QStringList{u"water"_s});

    ScriptedPasteboard announcing(true);
    {
        ClipboardMonitor gone(announcing);
        gone.onChange = [&](const ClipboardChange& change) {
            reports << change.text;
        };
        gone.start();
        announcing.copyText(u"queued when it went"_s);
    }
    EXPECT_FALSE(announcing.hasListener());
    announcing.copyText(u"after"_s);
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(reports, QStringList{u"water"_s});
}
