// What selection capture relies on from an accessible reader, checked against the scripted
// fake the unit tests use and against the AT-SPI reader reading another program's window on
// the accessibility bus, so the fake cannot drift from what the desktop really does.
#include "harness/AccessibleOutcomes.h"
#include "harness/ScriptedAccessibleReader.h"
#include "harness/TextWindow.h"
#include "platform/linux/atspi/AtspiSelectionReader.h"

#include <QCoroTask>
#include <QTest>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Miss = AccessibleSelectionReader::Miss;
using Outcome = AccessibleSelectionReader::Outcome;

namespace {

constexpr auto limit = 250ms;

// The fake, told what the focused control holds.
struct Scripted {
    ScriptedAccessibleReader reader;

    bool select(int start, int end) {
        reader.select(TextWindow::initialText().mid(start, end - start));
        return true;
    }
    bool clear() {
        reader.outcome = Miss::noSelection;
        return true;
    }
    bool focusPassword() {
        reader.outcome = Miss::passwordField;
        return true;
    }
    bool showInaccessibleWindow() {
        reader.outcome = Miss::noFocused;
        return true;
    }
};

// The AT-SPI reader and a window of another program that it reads; the application in front
// is the one last shown.
struct Desktop {
    TextWindow window;
    std::unique_ptr<TextWindow> other;
    qint64 frontmost = 0;
    AtspiSelectionReader reader{[this] {
        return frontmost;
    }};

    Desktop() {
        if (window.start())
            frontmost = window.pid();
    }
    bool select(int start, int end) {
        return window.command(u"select %1 %2"_s.arg(start).arg(end));
    }
    bool clear() { return window.command(u"clear"_s); }
    bool focusPassword() { return window.command(u"focus password"_s); }
    bool showInaccessibleWindow() {
        other = std::make_unique<TextWindow>();
        if (!other->start({.accessible = false}) || !other->command(u"select 4 9"_s))
            return false;
        frontmost = other->pid();
        return true;
    }
};

template <typename Bench> class AccessibleReaderContract : public testing::Test {
protected:
    Bench bench;

    Outcome read() { return outcomeOf(bench.reader.read(limit)); }

    // The application tells the bus of its focus and selection as it changes them, which
    // may arrive after it said it was done: the expected outcome must come, and soon.
    testing::AssertionResult becomes(const Outcome& expected) {
        Outcome last = read();
        (void)QTest::qWaitFor([&] { return (last = read()) == expected; }, 5000);
        if (last == expected)
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << testing::PrintToString(last);
    }
    static Outcome text(const QString& text) { return AccessibleSelectionReader::Read{text}; }
};

} // namespace

using Benches = testing::Types<Scripted, Desktop>;
class BenchNames {
public:
    template <typename T> static std::string GetName(int) {
        return std::is_same_v<T, Scripted> ? "Scripted" : "Desktop";
    }
};
TYPED_TEST_SUITE(AccessibleReaderContract, Benches, BenchNames);

TYPED_TEST(AccessibleReaderContract, ReadsTheSelectedTextAsItIs) {
    ASSERT_TRUE(this->bench.select(4, 19));
    EXPECT_TRUE(this->becomes(this->text(u"quick brown fox"_s)));
    // Across lines, with the line break kept.
    ASSERT_TRUE(this->bench.select(36, 57));
    EXPECT_TRUE(this->becomes(this->text(TextWindow::initialText().mid(36, 21))));
}

TYPED_TEST(AccessibleReaderContract, NothingSelectedIsNoSelection) {
    ASSERT_TRUE(this->bench.select(4, 9));
    ASSERT_TRUE(this->bench.clear());
    EXPECT_TRUE(this->becomes(Miss::noSelection));
}

TYPED_TEST(AccessibleReaderContract, APasswordFieldIsNeverRead) {
    ASSERT_TRUE(this->bench.focusPassword());
    EXPECT_TRUE(this->becomes(Miss::passwordField));
}

TYPED_TEST(AccessibleReaderContract, AnApplicationNotOnTheBusIsNoFocused) {
    ASSERT_TRUE(this->bench.select(4, 9));
    ASSERT_TRUE(this->becomes(this->text(u"quick"_s)));
    ASSERT_TRUE(this->bench.showInaccessibleWindow());
    EXPECT_TRUE(this->becomes(Miss::noFocused));
}
