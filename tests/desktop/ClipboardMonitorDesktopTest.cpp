// The clipboard monitor over the desktop adapter, with other programs copying on the X
// server's clipboard.
#include "capture/ClipboardMonitor.h"
#include "harness/ForeignClipboard.h"
#include "harness/QtPrinters.h"
#include "platform/SystemPasteboard.h"

#include <QList>
#include <QTest>
#include <gtest/gtest.h>
#include <random>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

class ClipboardMonitorDesktopTest : public testing::Test {
protected:
    QList<ClipboardChange> reports;
    std::unique_ptr<Pasteboard> pasteboard = makeSystemPasteboard();
    // Polls often, so the tests wait for the X server rather than for the timer.
    ClipboardMonitor monitor{*pasteboard, 10ms};
    // Last, so it goes first, while the monitor still listens.
    ForeignClipboard foreign;

    void SetUp() override {
        monitor.onChange = [this](const ClipboardChange& change) {
            reports << change;
        };
        monitor.start();
    }
};

} // namespace

TEST_F(ClipboardMonitorDesktopTest, aThousandRapidCopiesOfHostileContentAreSurvived) {
    // A burst from separate programs that replace each other before anyone reads them.
    std::mt19937 random(20240611);
    QByteArray huge(3'000'000, 'w');
    QByteArray binary(70'000, Qt::Uninitialized);
    for (char& byte : binary)
        byte = static_cast<char>(random());
    const QList<std::pair<QByteArray, QString>> burst = {
        {QByteArray("ab\xff\xfe", 4), u"UTF8_STRING"_s},
        {binary, u"UTF8_STRING"_s},
        {binary, u"image/png"_s},
        {QByteArray(), u"UTF8_STRING"_s},
        {huge, u"UTF8_STRING"_s},
        {QByteArray("\0\0\0", 3), u"STRING"_s},
        {QByteArray("caf\xe9", 4), u"STRING"_s},
        {binary, u"text/plain;charset=utf-8"_s},
    };
    for (int round = 0; round < 3; ++round) {
        for (const auto& [bytes, type] : burst)
            ASSERT_TRUE(foreign.copy(bytes, type));
    }
    // Then one program replacing its content a thousand times, often while it is being read.
    ASSERT_TRUE(foreign.churn(1000, 7, 120s));
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return !reports.isEmpty() && reports.last().text == u"churn done"_s; }, 10'000));
    EXPECT_GT(reports.size(), 5) << "most of the text on the way should have been read";

    for (const ClipboardChange& change : reports) {
        EXPECT_FALSE(change.text.isEmpty());
        EXPECT_FALSE(change.text.contains(QChar::ReplacementCharacter));
        EXPECT_FALSE(change.text.contains(QChar(0)));
    }
}

TEST(ClipboardMonitorDesktop, aCopyIsReportedAsTheServerAnnouncesItWithoutAPoll) {
    const std::unique_ptr<Pasteboard> pasteboard = makeSystemPasteboard();
    ClipboardMonitor monitor(*pasteboard, std::chrono::hours(1));
    QStringList reports;
    monitor.onChange = [&](const ClipboardChange& change) {
        reports << change.text;
    };
    monitor.start();
    ForeignClipboard foreign;
    for (const char* word : {"water", "river"}) {
        ASSERT_TRUE(foreign.copy(word));
        ASSERT_TRUE(
            QTest::qWaitFor([&] { return reports.contains(QString::fromUtf8(word)); }, 5000));
    }
    EXPECT_EQ(reports, (QStringList{u"water"_s, u"river"_s}));
}
