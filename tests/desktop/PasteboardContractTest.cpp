// What the clipboard monitor relies on from a pasteboard, checked against the scripted fake
// the unit tests use and against the desktop adapter on the X server's clipboard, so the
// fake cannot drift from what the desktop really does.
#include "harness/ForeignClipboard.h"
#include "harness/QtPrinters.h"
#include "harness/ScriptedPasteboard.h"
#include "platform/linux/desktop/QtPasteboard.h"

#include <QBuffer>
#include <QImage>
#include <QTest>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

using TypedTexts = QList<std::pair<QString, QString>>;

QByteArray pngImage() {
    QImage image(4, 4, QImage::Format_RGB32);
    image.fill(Qt::red);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

// The fake, filled directly; it announces changes, as X11 does.
struct Scripted {
    ScriptedPasteboard pasteboard{true};

    bool copyText(const QByteArray& utf8) {
        pasteboard.copy({{u"text/plain"_s, utf8}});
        return true;
    }
    bool copy(const QString& type, const QByteArray& bytes) {
        pasteboard.copy({{type, bytes}});
        return true;
    }
    bool copy(const TypedTexts& typedTexts) {
        ScriptedPasteboard::Content content;
        for (const auto& [type, text] : typedTexts)
            content.append({type, text.toUtf8()});
        pasteboard.copy(content);
        return true;
    }
};

// The adapter, filled by other programs: xclip offers text as UTF8_STRING, as most
// X11 programs do.
struct Desktop {
    QtPasteboard pasteboard;
    ForeignClipboard foreign;

    bool copyText(const QByteArray& utf8) { return foreign.copy(utf8); }
    bool copy(const QString& type, const QByteArray& bytes) { return foreign.copy(bytes, type); }
    bool copy(const TypedTexts& typedTexts) { return foreign.copy(typedTexts); }
};

template <typename Bench> class PasteboardContract : public testing::Test {
protected:
    Bench bench;
    Pasteboard& pasteboard = bench.pasteboard;

    // Copies by way of `copy` and waits until the counter has moved past where it was.
    template <typename Copy>::testing::AssertionResult copied(Copy copy) {
        const qint64 before = pasteboard.changeCount();
        if (!copy())
            return testing::AssertionFailure() << "the copying program did not start";
        if (!QTest::qWaitFor([&] { return pasteboard.changeCount() != before; }, 5000))
            return testing::AssertionFailure() << "the counter did not move";
        if (pasteboard.changeCount() < before)
            return testing::AssertionFailure() << "the counter went back";
        return testing::AssertionSuccess();
    }
};

class BenchNames {
public:
    template <typename Bench> static std::string GetName(int) {
        return std::is_same_v<Bench, Scripted> ? "scripted" : "desktop";
    }
};

using Benches = testing::Types<Scripted, Desktop>;
TYPED_TEST_SUITE(PasteboardContract, Benches, BenchNames);

} // namespace

TYPED_TEST(PasteboardContract, everyCopyMovesTheCounterAndIsReadBackAsIs) {
    const QString text = u"  Hello, 世界!\n\tsecond line "_s;
    ASSERT_TRUE(this->copied([&] { return this->bench.copyText(text.toUtf8()); }));
    EXPECT_EQ(this->pasteboard.plainText(), text);
    EXPECT_TRUE(this->pasteboard.types().contains(u"text/plain"_s))
        << testing::PrintToString(this->pasteboard.types());

    // The same text again is a new copy.
    ASSERT_TRUE(this->copied([&] { return this->bench.copyText(text.toUtf8()); }));
    EXPECT_EQ(this->pasteboard.plainText(), text);
}

TYPED_TEST(PasteboardContract, imageOnlyContentMovesTheCounterAndHasNoText) {
    ASSERT_TRUE(this->copied([&] { return this->bench.copyText("before"); }));
    ASSERT_TRUE(this->copied([&] { return this->bench.copy(u"image/png"_s, pngImage()); }));
    EXPECT_EQ(this->pasteboard.plainText(), std::nullopt);
    EXPECT_TRUE(this->pasteboard.types().contains(u"image/png"_s))
        << testing::PrintToString(this->pasteboard.types());
}

TYPED_TEST(PasteboardContract, textThatIsNoTextHasNone) {
    const QList<std::pair<const char*, QByteArray>> cases = {
        {"broken UTF-8", QByteArray("ab\xff\xfe cd", 7)},
        {"cut-off sequence", QByteArray("caf\xc3", 4)},
        {"zero byte inside", QByteArray("ab\0cd", 5)},
        {"empty", QByteArray()},
    };
    for (const auto& [name, bytes] : cases) {
        SCOPED_TRACE(name);
        ASSERT_TRUE(this->copied([&] { return this->bench.copyText(bytes); }));
        EXPECT_EQ(this->pasteboard.plainText(), std::nullopt);
    }
    // A terminating zero, as some programs send, is not part of the text.
    ASSERT_TRUE(this->copied([&] { return this->bench.copyText(QByteArray("word\0", 5)); }));
    EXPECT_EQ(this->pasteboard.plainText(), u"word"_s);
}

TYPED_TEST(PasteboardContract, markerTypesAreDeclaredWithTheirData) {
    struct Case {
        QString type;
        QString value;
    };
    for (const Case& c : {Case{u"x-kde-passwordManagerHint"_s, u"secret"_s},
                          Case{u"org.nspasteboard.ConcealedType"_s, u"1"_s}}) {
        SCOPED_TRACE(c.type.toStdString());
        ASSERT_TRUE(this->copied([&] {
            return this->bench.copy(TypedTexts{{u"text/plain"_s, u"hunter2"_s}, {c.type, c.value}});
        }));
        EXPECT_EQ(this->pasteboard.plainText(), u"hunter2"_s);
        EXPECT_TRUE(this->pasteboard.types().contains(c.type))
            << testing::PrintToString(this->pasteboard.types());
        EXPECT_EQ(this->pasteboard.data(c.type), c.value.toUtf8());
    }
}

TYPED_TEST(PasteboardContract, ownWritesMoveTheCounterOnceRightAway) {
    ASSERT_TRUE(this->copied([&] { return this->bench.copyText("someone else's"); }));
    const qint64 before = this->pasteboard.changeCount();
    this->pasteboard.writeText(u"复制自面板 copied"_s);
    const qint64 after = this->pasteboard.changeCount();
    EXPECT_GT(after, before);
    EXPECT_EQ(this->pasteboard.plainText(), u"复制自面板 copied"_s);

    // Nothing more arrives for it once the event loop has run.
    QTest::qWait(300);
    EXPECT_EQ(this->pasteboard.changeCount(), after);

    // And another program copying afterwards replaces it.
    ASSERT_TRUE(this->copied([&] { return this->bench.copyText("theirs again"); }));
    EXPECT_EQ(this->pasteboard.plainText(), u"theirs again"_s);
}

TYPED_TEST(PasteboardContract, everyChangeIsAnnouncedOnceTheCounterHasMoved) {
    QList<qint64> heard;
    ASSERT_TRUE(
        this->pasteboard.listenForChanges([&] { heard << this->pasteboard.changeCount(); }));
    ASSERT_TRUE(this->copied([&] { return this->bench.copyText("announced"); }));
    EXPECT_EQ(heard, QList<qint64>{this->pasteboard.changeCount()});

    // Our own write, from inside the write.
    this->pasteboard.writeText(u"ours"_s);
    EXPECT_EQ(heard.size(), 2);
    EXPECT_EQ(heard.last(), this->pasteboard.changeCount());

    // An empty listener stops the calls.
    this->pasteboard.listenForChanges(nullptr);
    ASSERT_TRUE(this->copied([&] { return this->bench.copyText("unheard"); }));
    EXPECT_EQ(heard.size(), 2);
}

TYPED_TEST(PasteboardContract, forgettingAReadLeavesTheContentAndTheCounterAlone) {
    const QString text = u"sk_live_contract 4111 1111 1111 1111"_s;
    ASSERT_TRUE(this->copied([&] { return this->bench.copyText(text.toUtf8()); }));
    ASSERT_EQ(this->pasteboard.plainText(), text);
    const qint64 counted = this->pasteboard.changeCount();
    for (int i = 0; i < 3; ++i)
        this->pasteboard.forgetLastRead();
    EXPECT_EQ(this->pasteboard.changeCount(), counted);
    EXPECT_EQ(this->pasteboard.plainText(), text);

    // The next copy moves the counter by exactly one: forgetting announced no change of its
    // own, which would have arrived before this one.
    ASSERT_TRUE(this->copied([&] { return this->bench.copyText("next"); }));
    EXPECT_EQ(this->pasteboard.changeCount(), counted + 1);
    EXPECT_EQ(this->pasteboard.plainText(), u"next"_s);
}
