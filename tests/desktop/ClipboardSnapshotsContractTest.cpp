// What the simulated copy relies on from clipboard snapshots: everything put back byte for
// byte. Checked against the scripted fake the unit tests use and against the X11 adapter,
// with other programs owning the clipboard and xclip reading it as a third program would.
#include "X11TestInput.h"
#include "harness/ForeignClipboard.h"
#include "harness/ManualTimers.h"
#include "harness/QtPrinters.h"
#include "harness/RunningTask.h"
#include "harness/ScriptedClipboardSnapshots.h"
#include "platform/linux/capture/XcbClipboardSnapshots.h"
#include "platform/linux/capture/XcbEventConnection.h"
#include "platform/linux/capture/XcbSelectionTransfer.h"

#include <QBuffer>
#include <QImage>
#include <QTemporaryDir>
#include <QTest>
#include <csignal>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

using Content = QList<std::pair<QString, QByteArray>>;

QByteArray pngImage() {
    QImage image(8, 8, QImage::Format_ARGB32);
    image.fill(Qt::darkCyan);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

QByteArray everyByte() {
    QByteArray bytes;
    for (int round = 0; round < 3; ++round)
        for (int value = 0; value < 256; ++value)
            bytes.append(char(value));
    return bytes;
}

// The fake, on a scripted clipboard.
struct Scripted {
    static constexpr bool isScripted = true;
    ScriptedPasteboard pasteboard;
    ScriptedClipboardSnapshots snapshots{pasteboard};

    bool copy(const Content& content) {
        pasteboard.copy(content);
        return true;
    }
    bool takeOver() {
        pasteboard.copy({{u"text/plain"_s, "someone else's"}});
        return true;
    }
    QMap<QString, QByteArray> content() const {
        QMap<QString, QByteArray> content;
        for (const QString& type : pasteboard.types())
            content.insert(type, pasteboard.data(type));
        return content;
    }
};

// The adapter, with clipboard-owner copying, xclip taking over and reading.
struct Desktop {
    static constexpr bool isScripted = false;
    XcbEventConnection connection;
    XcbSelectionTransfer transfer{connection};
    XcbClipboardSnapshots snapshots{transfer};
    ForeignClipboard foreign;
    QTemporaryDir files;

    bool copy(const Content& content) {
        QStringList arguments;
        for (const auto& [type, bytes] : content) {
            const QString path = files.filePath(QString::number(arguments.size()));
            QFile file(path);
            if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
                return false;
            arguments << u"--file"_s << type << path;
        }
        return foreign.own(arguments);
    }
    bool takeOver() {
        return foreign.copy("someone else's") && QTest::qWaitFor([] {
                   return readSelection(u"clipboard"_s, u"UTF8_STRING"_s) == "someone else's";
               });
    }
    QMap<QString, QByteArray> content() const { return clipboardContent(); }
};

template <typename Bench> class ClipboardSnapshotsContract : public testing::Test {
protected:
    Bench bench;
    ClipboardSnapshots& snapshots = bench.snapshots;
};

using Benches = testing::Types<Scripted, Desktop>;
TYPED_TEST_SUITE(ClipboardSnapshotsContract, Benches, ScriptedOrDesktop);

} // namespace

TYPED_TEST(ClipboardSnapshotsContract, everyTypeComesBackByteForByte) {
    ASSERT_TRUE(this->bench.copy({
        {u"text/plain"_s, u"Hello, 世界\n"_s.toUtf8()},
        {u"text/html"_s, "<p>Hello, <b>world</b></p>"},
        {u"image/png"_s, pngImage()},
        {u"application/x-quillet-note"_s, "a type of its own"},
        {u"application/octet-stream"_s, everyByte()},
    }));
    const QMap<QString, QByteArray> original = this->bench.content();
    ASSERT_TRUE(original.contains(u"application/octet-stream"_s))
        << testing::PrintToString(original.keys());

    const PasteboardSnapshot snapshot = finish(this->snapshots.take(5s));
    EXPECT_EQ(snapshot.unreadable, QStringList());
    ASSERT_EQ(snapshot.items.size(), 1);
    EXPECT_EQ(snapshot.items.first(), original);

    ASSERT_TRUE(this->bench.takeOver());
    ASSERT_NE(this->bench.content(), original);
    this->snapshots.restore(snapshot);
    EXPECT_EQ(this->bench.content(), original);

    // What was put back can be kept and put back again.
    const PasteboardSnapshot again = finish(this->snapshots.take(5s));
    ASSERT_EQ(again.items.size(), 1);
    EXPECT_EQ(again.items.first(), original);
    ASSERT_TRUE(this->bench.takeOver());
    this->snapshots.restore(again);
    EXPECT_EQ(this->bench.content(), original);
}

TYPED_TEST(ClipboardSnapshotsContract, anEmptyClipboardIsAnEmptySnapshotAndComesBackEmpty) {
    const PasteboardSnapshot empty = finish(this->snapshots.take(5s));
    EXPECT_TRUE(empty.items.isEmpty());
    EXPECT_TRUE(empty.unreadable.isEmpty());

    ASSERT_TRUE(this->bench.copy({{u"text/plain"_s, "copied meanwhile"}}));
    ASSERT_FALSE(this->bench.content().isEmpty());
    this->snapshots.restore(empty);
    EXPECT_EQ(this->bench.content(), (QMap<QString, QByteArray>()));
    EXPECT_TRUE(finish(this->snapshots.take(5s)).items.isEmpty());
}

// The X11 adapter's own cases: large content, owners that die or hang.
class XcbClipboardSnapshotsFaults : public testing::Test {
protected:
    ManualTimers timers;
    XcbEventConnection connection;
    XcbSelectionTransfer transfer{connection, timers};
    XcbClipboardSnapshots snapshots{transfer, timers};
    ForeignClipboard foreign;

    const QStringList ownerArguments = {
        u"text/plain"_s,        u"plain"_s, u"text/html"_s,         u"<i>html</i>"_s,
        u"application/x-one"_s, u"one"_s,   u"application/x-two"_s, u"two"_s};

    static QStringList typesOf(const PasteboardSnapshot& snapshot) {
        QStringList types = snapshot.unreadable;
        for (const auto& item : snapshot.items)
            types += item.keys();
        types.sort();
        return types;
    }
};

TEST_F(XcbClipboardSnapshotsFaults, threeMegabytesGoBothWaysInIncrements) {
    QByteArray large(3 * 1024 * 1024, 'x');
    for (qsizetype i = 0; i < large.size(); i += 64)
        large[i] = '\n';
    ASSERT_TRUE(foreign.copy(large));
    ASSERT_TRUE(QTest::qWaitFor(
        [] { return readSelection(u"clipboard"_s, u"TARGETS"_s).has_value(); }, 10'000));

    const PasteboardSnapshot snapshot = finish(snapshots.take(2s));
    EXPECT_EQ(snapshot.unreadable, QStringList());
    ASSERT_EQ(snapshot.items.size(), 1);
    ASSERT_EQ(snapshot.items.first().value(u"UTF8_STRING"_s).size(), large.size());
    EXPECT_TRUE(snapshot.items.first().value(u"UTF8_STRING"_s) == large);

    ASSERT_TRUE(foreign.copy("small"));
    ASSERT_TRUE(QTest::qWaitFor(
        [] { return readSelection(u"clipboard"_s, u"UTF8_STRING"_s) == "small"; }, 10'000));
    snapshots.restore(snapshot);
    EXPECT_TRUE(readSelection(u"clipboard"_s, u"UTF8_STRING"_s) == large);

    // Read back from ourselves, the owner that sends large content in increments.
    const PasteboardSnapshot again = finish(snapshots.take(2s));
    EXPECT_EQ(again.unreadable, QStringList());
    ASSERT_EQ(again.items.size(), 1);
    EXPECT_TRUE(again.items.first() == snapshot.items.first());
}

TEST_F(XcbClipboardSnapshotsFaults, anOwnerThatDiesMidwayEndsTheSnapshotAtOnce) {
    ASSERT_TRUE(foreign.own(QStringList{u"--vanish-after"_s, u"1"_s} + ownerArguments));
    const qint64 owner = foreign.lastProcessId();

    // The clock never moves: only the owner's end can end the snapshot.
    const PasteboardSnapshot snapshot = finish(snapshots.take(1s));
    EXPECT_EQ(processState(owner), 0);
    ASSERT_EQ(snapshot.items.size(), 1);
    EXPECT_EQ(snapshot.items.first().size(), 1);
    EXPECT_FALSE(snapshot.unreadable.isEmpty());
    EXPECT_TRUE(typesOf(snapshot).contains(u"text/html"_s))
        << testing::PrintToString(typesOf(snapshot));
    EXPECT_TRUE(typesOf(snapshot).contains(u"application/x-two"_s));
}

TEST_F(XcbClipboardSnapshotsFaults, anOwnerThatNeverAnswersEndsWithinTheLimit) {
    ASSERT_TRUE(foreign.own(QStringList{u"--freeze-after"_s, u"0"_s} + ownerArguments));
    const qint64 owner = foreign.lastProcessId();

    RunningTask<PasteboardSnapshot> take(snapshots.take(400ms));
    ASSERT_TRUE(QTest::qWaitFor([&] { return processState(owner) == 'T'; }, 5000));
    timers.advance(399ms);
    EXPECT_FALSE(take.awaitEnd(200)) << "ended before its limit";
    timers.advance(1ms);
    ASSERT_TRUE(take.awaitEnd());
    const PasteboardSnapshot& snapshot = take.outcome();
    EXPECT_TRUE(snapshot.items.isEmpty());
    for (const QString& type :
         {u"text/plain"_s, u"text/html"_s, u"application/x-one"_s, u"application/x-two"_s})
        EXPECT_TRUE(snapshot.unreadable.contains(type)) << type.toStdString();

    // Resumed, it answers late; the next snapshot is whole and its own.
    ::kill(pid_t(owner), SIGCONT);
    const QMap<QString, QByteArray> original = clipboardContent();
    const PasteboardSnapshot resumed = finish(snapshots.take(400ms));
    EXPECT_EQ(resumed.unreadable, QStringList());
    ASSERT_EQ(resumed.items.size(), 1);
    EXPECT_EQ(resumed.items.first(), original);
}
