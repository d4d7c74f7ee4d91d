// What hover lookup relies on from the word reader, checked against the scripted fake the
// unit tests use and against the AT-SPI reader pointing into another program's window on the
// accessibility bus, so the fake cannot drift from what the desktop really does.
#include "harness/AccessibleOutcomes.h"
#include "harness/ScriptedAccessibleWords.h"
#include "harness/TextWindow.h"
#include "platform/linux/atspi/AtspiWordReader.h"
#include "platform/linux/capture/X11WindowAtPoint.h"
#include "platform/linux/capture/XcbEventConnection.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QEventLoop>
#include <QLabel>
#include <QTest>
#include <csignal>
#include <gtest/gtest.h>
#include <optional>
#include <ostream>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Miss = AccessibleWordReader::Miss;
using Outcome = AccessibleWordReader::Outcome;
using Word = AccessibleWordReader::Word;

// Words compare as the core reads them: trimmed.
inline bool operator==(const Word& a, const Word& b) {
    return a.text.trimmed() == b.text.trimmed();
}

inline void PrintTo(const Word& word, std::ostream* out) {
    *out << "word \"" << word.text.toStdString() << "\"";
}

inline void PrintTo(Miss miss, std::ostream* out) {
    constexpr const char* names[] = {"noText", "passwordField", "ownWindow", "unavailable"};
    *out << names[static_cast<int>(miss)];
}

namespace {

constexpr auto limit = 250ms;

// A point no window covers: the window manager places new windows at the top left.
const QPointF emptyDesktop(1200, 760);

struct Scripted {
    static constexpr bool isScripted = true;
    ScriptedAccessibleWords reader;

    std::optional<QPointF> wordAt(int start, int end) {
        reader.show(TextWindow::initialText().mid(start, end - start));
        return QPointF(100, 100);
    }
    std::optional<QPointF> fieldWordAt(const QString& word) {
        reader.show(word);
        return QPointF(100, 300);
    }
    std::optional<QPointF> passwordField(const QString&) {
        reader.outcome = Miss::passwordField;
        return QPointF(100, 200);
    }
    std::optional<QPointF> blankOfTheView() {
        reader.outcome = Miss::noText;
        return QPointF(500, 100);
    }
    QPointF nowhere() {
        reader.outcome = Miss::noText;
        return emptyDesktop;
    }
    std::optional<QPointF> ownWindow() {
        reader.outcome = Miss::ownWindow;
        return QPointF(900, 500);
    }
    bool switchAccessibilityOff() {
        reader.outcome = Miss::unavailable;
        return true;
    }
};

std::optional<QPointF> pointFrom(const QString& reply) {
    const QStringList parts = reply.split(u' ');
    if (parts.size() != 3 || parts[0] != u"ok"_s)
        return std::nullopt;
    return QPointF(parts[1].toInt(), parts[2].toInt());
}

// The AT-SPI reader, finding windows through the X server as the agent does, and the
// window of another program it reads.
struct Desktop {
    static constexpr bool isScripted = false;
    XcbEventConnection connection;
    X11WindowAtPoint windows{connection};
    AtspiWordReader reader{[this](QPointF p) {
        return windows.processAt(p);
    }};
    TextWindow window;
    std::unique_ptr<QLabel> own;
    bool started = window.start();

    std::optional<QPointF> ask(const QString& command) {
        if (!started)
            return std::nullopt;
        return pointFrom(window.commandAnswer(command));
    }
    std::optional<QPointF> wordAt(int start, int end) {
        return ask(u"locate %1 %2"_s.arg(start).arg(end));
    }
    std::optional<QPointF> fieldWordAt(const QString& word) {
        const int start = int(TextWindow::fieldText().indexOf(word));
        return ask(u"locate field %1 %2"_s.arg(start).arg(start + word.size()));
    }
    std::optional<QPointF> passwordField(const QString& which) { return ask(u"locate "_s + which); }
    // Well right of the first line's end, inside the text view.
    std::optional<QPointF> blankOfTheView() {
        const std::optional<QPointF> end = wordAt(40, 43);
        return end ? std::optional(*end + QPointF(250, 0)) : std::nullopt;
    }
    QPointF nowhere() { return emptyDesktop; }
    std::optional<QPointF> ownWindow() {
        own = std::make_unique<QLabel>(u"A window of the reading program itself"_s);
        own->setGeometry(700, 400, 400, 200);
        own->show();
        if (!QTest::qWaitForWindowExposed(own.get()))
            return std::nullopt;
        return QPointF(own->mapToGlobal(own->rect().center()));
    }
    // The launcher quitting takes the accessibility bus with it; the desktop session stops
    // what is left of it.
    bool switchAccessibilityOff() {
        const auto launcher =
            QDBusConnection::sessionBus().interface()->servicePid(u"org.a11y.Bus"_s);
        return launcher.isValid() && ::kill(static_cast<pid_t>(launcher.value()), SIGTERM) == 0;
    }
};

template <typename Bench> class WordReaderContract : public testing::Test {
protected:
    Bench bench;

    Outcome read(QPointF at) { return outcomeOf(bench.reader.wordAt(at, limit)); }

    // The application tells the bus about its window as it shows it, which may come after
    // it said it was done: the expected outcome must come, and soon.
    testing::AssertionResult becomes(QPointF at, const Outcome& expected) {
        Outcome last = read(at);
        (void)QTest::qWaitFor([&] { return (last = read(at)) == expected; }, 5000);
        if (last == expected)
            return testing::AssertionSuccess();
        return testing::AssertionFailure()
               << "at " << at.x() << "," << at.y() << ": " << testing::PrintToString(last);
    }
    static Outcome word(const QString& text) { return Word{text}; }
};

struct BenchNames {
    template <typename Bench> static std::string GetName(int) {
        return Bench::isScripted ? "Scripted" : "Desktop";
    }
};
using Benches = testing::Types<Scripted, Desktop>;
TYPED_TEST_SUITE(WordReaderContract, Benches, BenchNames);

} // namespace

TYPED_TEST(WordReaderContract, theWordUnderThePointInATextView) {
    // Both ends of a line, the middle of another.
    const std::vector<std::pair<int, int>> words = {{4, 9}, {40, 43}, {45, 52}, {64, 72}};
    for (const auto& [start, end] : words) {
        const QString expected = TextWindow::initialText().mid(start, end - start);
        const std::optional<QPointF> at = this->bench.wordAt(start, end);
        ASSERT_TRUE(at) << expected.toStdString();
        EXPECT_TRUE(this->becomes(*at, this->word(expected)));
    }
}

TYPED_TEST(WordReaderContract, theWordUnderThePointInAOneLineField) {
    for (const QString& expected : {u"Look"_s, u"again"_s, u"tomorrow"_s}) {
        const std::optional<QPointF> at = this->bench.fieldWordAt(expected);
        ASSERT_TRUE(at) << expected.toStdString();
        EXPECT_TRUE(this->becomes(*at, this->word(expected)));
    }
}

TYPED_TEST(WordReaderContract, aPasswordFieldIsNeverRead) {
    // The field itself, and an ordinary text box inside a password container.
    for (const QString& which : {u"password"_s, u"nested"_s}) {
        const std::optional<QPointF> at = this->bench.passwordField(which);
        ASSERT_TRUE(at) << which.toStdString();
        EXPECT_TRUE(this->becomes(*at, Miss::passwordField)) << which.toStdString();
    }
}

TYPED_TEST(WordReaderContract, whereNoTextIsThereIsNoWord) {
    const std::optional<QPointF> word = this->bench.wordAt(4, 9);
    ASSERT_TRUE(word);
    ASSERT_TRUE(this->becomes(*word, this->word(u"quick"_s)));
    const std::optional<QPointF> blank = this->bench.blankOfTheView();
    ASSERT_TRUE(blank);
    EXPECT_EQ(this->read(*blank), Outcome(Miss::noText));
    EXPECT_EQ(this->read(this->bench.nowhere()), Outcome(Miss::noText));
}

TYPED_TEST(WordReaderContract, theProgramsOwnWindowIsNeverRead) {
    const std::optional<QPointF> at = this->bench.ownWindow();
    ASSERT_TRUE(at);
    EXPECT_EQ(this->read(*at), Outcome(Miss::ownWindow));
}

TYPED_TEST(WordReaderContract, withAccessibilityOffNothingIsAvailable) {
    const std::optional<QPointF> at = this->bench.wordAt(4, 9);
    ASSERT_TRUE(at);
    ASSERT_TRUE(this->becomes(*at, this->word(u"quick"_s)));
    ASSERT_TRUE(this->bench.switchAccessibilityOff());
    EXPECT_TRUE(this->becomes(*at, Miss::unavailable));
}
