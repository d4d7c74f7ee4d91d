// What selection capture relies on from the desktop's PRIMARY selection, checked against the
// scripted fake the unit tests use and against the X11 adapter with xclip as the selecting
// program.
#include "X11TestInput.h"
#include "harness/ForeignClipboard.h"
#include "harness/ManualTimers.h"
#include "harness/QtPrinters.h"
#include "harness/RunningTask.h"
#include "harness/ScriptedPrimarySelection.h"
#include "platform/linux/capture/XcbEventConnection.h"
#include "platform/linux/capture/XcbPrimarySelection.h"
#include "platform/linux/capture/XcbSelectionTransfer.h"

#include <QTest>
#include <csignal>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

// The fake, told what the offered bytes mean.
struct Scripted {
    static constexpr bool isScripted = true;
    ScriptedPrimarySelection primary;
    quint64 clock = 1000;

    bool offer(const QByteArray&, const QString&, const std::optional<QString>& meaning) {
        clock += 10;
        if (meaning)
            primary.select(*meaning, clock);
        else
            primary.offerNoText(clock);
        return true;
    }
    std::optional<quint64> lastChange() const { return clock; }
};

// The adapter, with xclip selecting.
struct Desktop {
    static constexpr bool isScripted = false;
    XcbEventConnection connection;
    XcbSelectionTransfer transfer{connection};
    XcbPrimarySelection primary{transfer};
    ForeignClipboard foreign;

    bool offer(const QByteArray& bytes, const QString& type, const std::optional<QString>&) {
        const std::optional<quint64> before = primary.lastOwnerChange();
        return foreign.select(bytes, type) &&
               QTest::qWaitFor([&] { return primary.lastOwnerChange() != before; }, 5000);
    }
    std::optional<quint64> lastChange() const { return primary.lastOwnerChange(); }
};

template <typename Bench> class PrimarySelectionContract : public testing::Test {
protected:
    Bench bench;
    PrimarySelection& primary = bench.primary;
};

using Benches = testing::Types<Scripted, Desktop>;
TYPED_TEST_SUITE(PrimarySelectionContract, Benches, ScriptedOrDesktop);

} // namespace

TYPED_TEST(PrimarySelectionContract, eachNewOwnerMovesTheTimeOfTheLastChange) {
    ASSERT_TRUE(this->bench.offer("one", u"UTF8_STRING"_s, u"one"_s));
    const std::optional<quint64> first = this->bench.lastChange();
    ASSERT_TRUE(first);
    EXPECT_TRUE(this->primary.ownerChangedSince(*first));
    EXPECT_TRUE(this->primary.ownerChangedSince(*first - 5));
    EXPECT_FALSE(this->primary.ownerChangedSince(*first + 1));

    ASSERT_TRUE(this->bench.offer("two", u"UTF8_STRING"_s, u"two"_s));
    const std::optional<quint64> second = this->bench.lastChange();
    ASSERT_TRUE(second);
    EXPECT_GT(*second, *first);
    EXPECT_TRUE(this->primary.ownerChangedSince(*first + 1));
    EXPECT_EQ(finish(this->primary.read(5s)), u"two"_s);
}

TYPED_TEST(PrimarySelectionContract, readsTextAndNothingThatIsNoText) {
    struct Case {
        const char* name;
        QString type;
        QByteArray bytes;
        std::optional<QString> text;
    };
    const QList<Case> cases = {
        {"UTF-8", u"UTF8_STRING"_s, u"Hello, 世界 — naïve"_s.toUtf8(), u"Hello, 世界 — naïve"_s},
        {"Latin-1 only", u"STRING"_s, "caf\xe9 cr\xe8me", u"café crème"_s},
        {"terminating zero", u"UTF8_STRING"_s, QByteArray("word\0", 5), u"word"_s},
        {"broken UTF-8", u"UTF8_STRING"_s, QByteArray("ab\xff\xfe cd"), std::nullopt},
        {"cut-off sequence", u"UTF8_STRING"_s, QByteArray("caf\xc3"), std::nullopt},
        {"zero byte inside", u"UTF8_STRING"_s, QByteArray("ab\0cd", 5), std::nullopt},
        {"zero byte in Latin-1", u"STRING"_s, QByteArray("ab\0cd", 5), std::nullopt},
        {"no text type at all", u"image/png"_s, QByteArray("\x89PNG\r\n\x1a\n"), std::nullopt},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ASSERT_TRUE(this->bench.offer(c.bytes, c.type, c.text));
        EXPECT_EQ(finish(this->primary.read(5s)), c.text);
    }
}

TYPED_TEST(PrimarySelectionContract, nothingSelectedReadsNothing) {
    EXPECT_FALSE(this->primary.ownerChangedSince(0));
    EXPECT_EQ(finish(this->primary.read(5s)), std::nullopt);
}

// The X11 adapter's limits, on a clock the test moves.
class XcbPrimarySelectionLimits : public testing::Test {
protected:
    ManualTimers timers;
    XcbEventConnection connection;
    XcbSelectionTransfer transfer{connection, timers};
    XcbPrimarySelection primary{transfer};
    ForeignClipboard foreign;

    bool select(const QByteArray& bytes) {
        const std::optional<quint64> before = primary.lastOwnerChange();
        return foreign.select(bytes) &&
               QTest::qWaitFor([&] { return primary.lastOwnerChange() != before; }, 20'000);
    }
};

TEST_F(XcbPrimarySelectionLimits, anOwnerThatDoesNotAnswerGivesNothingOnceTheLimitIsOver) {
    ASSERT_TRUE(select("frozen"));
    const qint64 owner = foreign.lastProcessId();
    ASSERT_EQ(::kill(pid_t(owner), SIGSTOP), 0);
    ASSERT_TRUE(QTest::qWaitFor([&] { return processState(owner) == 'T'; }, 5000));

    RunningTask<std::optional<QString>> read(primary.read(300ms));
    timers.advance(299ms);
    EXPECT_FALSE(read.awaitEnd(200)) << "ended before its limit";
    timers.advance(1ms);
    EXPECT_EQ(read.outcome(), std::nullopt);

    // Its late answer, once it goes on, is not taken for the next one's.
    ::kill(pid_t(owner), SIGCONT);
    ASSERT_TRUE(select("after"));
    EXPECT_EQ(finish(primary.read(300ms)), u"after"_s);
}

TEST_F(XcbPrimarySelectionLimits, largeSelectionsArriveWholeAndHugeOnesAreRefusedUnread) {
    QByteArray large(3 * 1024 * 1024, 'a');
    for (qsizetype i = 0; i < large.size(); i += 80)
        large[i] = ' ';
    ASSERT_TRUE(select(large));
    const std::optional<QString> read = finish(primary.read(5s));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->toLatin1(), large);

    ASSERT_TRUE(select(QByteArray(XcbSelectionTransfer::maxBytes + 1, 'b')));
    EXPECT_EQ(finish(primary.read(5s)), std::nullopt);
}
