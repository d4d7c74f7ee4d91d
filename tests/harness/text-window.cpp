// Another program's window, for the tests that read text through accessibility: a
// multi-line text view holding English text, a password field, an ordinary text box inside a
// container that calls itself a password field (the way GTK 4 builds its password entry), and
// a read-only page with the view's first text, and a one-line text field.
//
//   text-window [--class CLASS] [--no-accessibility]
//       --class sets the window's WM_CLASS (a test can show it as "KeePassXC" or "XTerm");
//       --no-accessibility keeps the same window off the accessibility bus.
//       Prints "ready WINDOWID" once shown, then reads commands from standard input, one a
//       line, and answers each with "ok" once it is done (or "bad" when it cannot):
//         select START END   the text view focused, with that range selected
//         clear              the text view focused, with nothing selected
//         focus password     the password field focused, its text selected
//         focus nested       the text box inside the password container focused, its text
//                            selected
//         fill COUNT         the text view holds COUNT characters of English text
//         garbage COUNT SEED the text view holds COUNT random UTF-16 code units, NULs,
//                            control characters and lone surrogates among them
//         locate [page|field] START END
//                            answers "ok X Y", the middle of that range of the read-only
//                            page's text (the text view's first text, in a layout that
//                            says which character is at a point) or the one-line field's
//         locate password|nested
//                            answers "ok X Y", the middle of that field on the screen
//
// Ends when its standard input closes, or on SIGTERM; the tests stop it by process id.
#include <QAccessible>
#include <QAccessibleWidget>
#include <QApplication>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QSocketNotifier>
#include <QTextEdit>
#include <QTimer>
#include <QVBoxLayout>
#include <QWidget>
#include <QWindow>
#include <cstdio>
#include <random>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QString englishText = u"The quick brown fox jumps over the lazy dog.\n"
                            "Reading in another language is slow at first, and then it is not.\n"
                            "A word you look up twice is a word you will remember.\n"_s;

const QString fieldText = u"Look it up again tomorrow"_s;

void say(const QByteArray& line) {
    std::fputs(line.constData(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

// A container that reports itself as a password field while the text box it holds is an
// ordinary one.
class PasswordBox : public QWidget {
public:
    explicit PasswordBox(QWidget* parent) : QWidget(parent), inner(new QLineEdit(this)) {
        setObjectName(u"password-box"_s);
        inner->setText(u"nested secret"_s);
        auto* layout = new QVBoxLayout(this);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(inner);
    }
    QLineEdit* const inner;
};

class PasswordBoxAccessible : public QAccessibleWidget {
public:
    explicit PasswordBoxAccessible(QWidget* widget)
        : QAccessibleWidget(widget, QAccessible::EditableText) {}
    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.passwordEdit = true;
        return state;
    }
};

QAccessibleInterface* passwordBoxFactory(const QString&, QObject* object) {
    if (object && object->isWidgetType() && object->objectName() == u"password-box"_s)
        return new PasswordBoxAccessible(static_cast<QWidget*>(object));
    return nullptr;
}

class TextWindow : public QWidget {
public:
    TextWindow() {
        view->setPlainText(englishText);
        page->setReadOnly(true);
        page->setAcceptRichText(false);
        page->setPlainText(englishText);
        field->setText(fieldText);
        password->setEchoMode(QLineEdit::Password);
        password->setText(u"hunter2-and-more"_s);
        auto* layout = new QVBoxLayout(this);
        layout->addWidget(view);
        layout->addWidget(page);
        layout->addWidget(password);
        layout->addWidget(nested);
        layout->addWidget(field);
        resize(640, 360);
    }

    // False when the command is not understood.
    bool run(const QList<QByteArray>& words) {
        const QByteArray command = words.value(0);
        if (command == "select" && words.size() == 3) {
            bool startOk = false;
            bool endOk = false;
            const int start = words[1].toInt(&startOk);
            const int end = words[2].toInt(&endOk);
            if (!startOk || !endOk)
                return false;
            QTextCursor cursor = view->textCursor();
            cursor.setPosition(start);
            cursor.setPosition(end, QTextCursor::KeepAnchor);
            view->setTextCursor(cursor);
            view->setFocus();
            return true;
        }
        if (command == "clear" && words.size() == 1) {
            QTextCursor cursor = view->textCursor();
            cursor.clearSelection();
            view->setTextCursor(cursor);
            view->setFocus();
            return true;
        }
        if (command == "focus" && words.size() == 2) {
            QLineEdit* field = words[1] == "password" ? password
                               : words[1] == "nested" ? nested->inner
                                                      : nullptr;
            if (!field)
                return false;
            field->setFocus();
            field->selectAll();
            return true;
        }
        if (command == "fill" && words.size() == 2) {
            const qsizetype count = words[1].toLongLong();
            QString text;
            text.reserve(count);
            while (text.size() < count)
                text += englishText;
            text.truncate(count);
            view->setPlainText(text);
            return true;
        }
        if (command == "locate")
            return locate(words.mid(1));
        if (command == "garbage" && words.size() == 3) {
            const qsizetype count = words[1].toLongLong();
            std::mt19937 random(words[2].toUInt());
            QString text(count, Qt::Uninitialized);
            for (QChar& unit : text)
                unit = QChar(static_cast<char16_t>(random() & 0xffff));
            view->setPlainText(text);
            return true;
        }
        return false;
    }

    // What the last command adds to its "ok".
    QByteArray reply;

private:
    void answerPoint(QPoint global) {
        reply = " " + QByteArray::number(global.x()) + " " + QByteArray::number(global.y());
    }

    bool locate(const QList<QByteArray>& words) {
        if (words.size() == 1 && (words[0] == "password" || words[0] == "nested")) {
            QWidget* target = words[0] == "password" ? static_cast<QWidget*>(password) : nested;
            answerPoint(target->mapToGlobal(target->rect().center()));
            return true;
        }
        if (words.size() != 2 && words.size() != 3)
            return false;
        const bool inField = words.size() == 3 && words[0] == "field";
        const QList<QByteArray> range = inField ? words.mid(1) : words.mid(words.size() - 2);
        bool startOk = false;
        bool endOk = false;
        const int start = range.value(0).toInt(&startOk);
        const int end = range.value(1).toInt(&endOk);
        if (!startOk || !endOk || start >= end ||
            (words.size() == 3 && !inField && words[0] != "page"))
            return false;
        if (inField) {
            if (end > field->text().size())
                return false;
            // Where the field would put its cursor at each end of the range.
            const auto cursorAt = [this](int position) {
                field->setCursorPosition(position);
                return field->inputMethodQuery(Qt::ImCursorRectangle).toRect();
            };
            const QRect first = cursorAt(start);
            const QRect last = cursorAt(end);
            const int x = (first.left() + last.left()) / 2;
            answerPoint(field->mapToGlobal(QPoint(x, first.center().y())));
            return true;
        }
        if (end > page->document()->characterCount())
            return false;
        QTextCursor cursor(page->document());
        cursor.setPosition(start);
        const QRect first = page->cursorRect(cursor);
        cursor.setPosition(end);
        const QRect last = page->cursorRect(cursor);
        if (first.top() != last.top())
            return false; // one line at a time
        answerPoint(page->viewport()->mapToGlobal(
            QPoint((first.left() + last.left()) / 2, first.center().y())));
        return true;
    }

    QPlainTextEdit* view = new QPlainTextEdit(this);
    // The same text where a pointer can read it: a plain text layout never says which
    // character is at a point, a rich text one does.
    QTextEdit* page = new QTextEdit(this);
    QLineEdit* password = new QLineEdit(this);
    PasswordBox* nested = new PasswordBox(this);
    QLineEdit* field = new QLineEdit(this);
};

} // namespace

int main(int argc, char** argv) {
    QString windowClass;
    bool accessible = true;
    for (int i = 1; i < argc; ++i) {
        const QByteArray argument = argv[i];
        if (argument == "--class" && i + 1 < argc)
            windowClass = QString::fromLocal8Bit(argv[++i]);
        else if (argument == "--no-accessibility")
            accessible = false;
    }
    if (accessible)
        qputenv("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1");
    else // an address nobody listens on: the toolkit finds no accessibility bus
        qputenv("AT_SPI_BUS_ADDRESS", "unix:path=/nonexistent/at-spi-bus");
    if (!windowClass.isEmpty())
        qputenv("RESOURCE_NAME", windowClass.toLower().toLocal8Bit());

    QApplication application(argc, argv);
    // The toolkit takes WM_CLASS's class from the application's name.
    if (!windowClass.isEmpty())
        QApplication::setApplicationName(windowClass);
    QAccessible::installFactory(passwordBoxFactory);

    TextWindow window;
    window.setWindowTitle(u"text-window"_s);
    window.show();

    QByteArray pending;
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &window, [&] {
        char buffer[4096];
        const ssize_t count = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (count <= 0) {
            input.setEnabled(false);
            QApplication::quit();
            return;
        }
        pending.append(buffer, count);
        for (qsizetype end; (end = pending.indexOf('\n')) >= 0;) {
            const QByteArray line = pending.left(end).trimmed();
            pending.remove(0, end + 1);
            window.reply.clear();
            say(window.run(line.split(' ')) ? "ok" + window.reply : "bad");
        }
    });

    // Ready once mapped and exposed, so a test may drag across it at once.
    QTimer exposed;
    QObject::connect(&exposed, &QTimer::timeout, &window, [&] {
        if (!window.windowHandle() || !window.windowHandle()->isExposed())
            return;
        exposed.stop();
        window.activateWindow();
        say("ready " + QByteArray::number(window.winId()));
    });
    exposed.start(10);
    return QApplication::exec();
}
