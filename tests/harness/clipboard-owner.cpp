// Holds the X11 CLIPBOARD the way another program does, for the desktop tests.
//
//   clipboard-owner [OPTION]... TYPE TEXT [TYPE TEXT]...
//       Offers each type with its text (as UTF-8) at once, prints "owned" when it holds the
//       clipboard, and exits when another program takes the clipboard over. Options:
//       --file TYPE PATH   also offers TYPE with the bytes of the file at PATH
//       --freeze-after N   hands over N contents, then stops itself (SIGSTOP) on the next
//                          request before answering it; SIGCONT lets it answer and go on
//       --vanish-after N   hands over N contents, then exits on the next request unanswered
//   clipboard-owner --churn COUNT SEED
//       Replaces its content COUNT times, every few milliseconds, with random content (text,
//       huge text, images, broken UTF-8, empty text, secrets, many types), serving requests
//       in between; then offers the text "churn done", prints "done" and stays like the
//       first form.
//
// Ends on SIGTERM too; the tests stop it by process id.
#include <QByteArray>
#include <QClipboard>
#include <QFile>
#include <QGuiApplication>
#include <QMimeData>
#include <QTimer>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>

using namespace Qt::StringLiterals;

namespace {

void say(const char* line) {
    std::fputs(line, stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

QByteArray randomBytes(std::mt19937& random, qsizetype size) {
    QByteArray bytes(size, Qt::Uninitialized);
    for (char& byte : bytes)
        byte = static_cast<char>(random() & 0xff);
    return bytes;
}

QString randomText(std::mt19937& random, qsizetype length) {
    static const QString alphabet = u"abcdefghijklmnopqrstuvwxyz ABCXYZ .,'\n\t 汉字词典读书 éü—"_s;
    QString text;
    text.reserve(length);
    for (qsizetype i = 0; i < length; ++i)
        text += alphabet.at(random() % alphabet.size());
    return text;
}

// Content that tells when a reader fetched any of it.
class ServedMimeData : public QMimeData {
public:
    std::function<void()> onServed;

protected:
    QVariant retrieveData(const QString& type, QMetaType metaType) const override {
        if (onServed)
            onServed();
        return QMimeData::retrieveData(type, metaType);
    }
};

void fill(QMimeData& mime, std::mt19937& random) {
    switch (random() % 8) {
    case 0:
        mime.setText(randomText(random, 1 + random() % 300));
        break;
    case 1: // rarely, a few megabytes: X11 hands these over in increments
        if (random() % 8 == 0)
            mime.setText(randomText(random, 1'000'000 + random() % 2'000'000));
        else
            mime.setText(randomText(random, 20'000));
        break;
    case 2:
        mime.setData(u"image/png"_s, randomBytes(random, 1 + random() % 65'536));
        break;
    case 3:
        mime.setData(u"text/plain;charset=utf-8"_s,
                     "broken \xff\xfe\xc3" + randomBytes(random, random() % 200));
        break;
    case 4:
        mime.setText(QString());
        break;
    case 5:
        mime.setText(randomText(random, 12));
        mime.setData(u"x-kde-passwordManagerHint"_s, "secret");
        break;
    case 6:
        mime.setData(u"text/plain"_s, randomBytes(random, random() % 4'096));
        break;
    default:
        for (int i = 0; i < 20; ++i)
            mime.setData(u"application/x-type-%1"_s.arg(i), randomBytes(random, random() % 512));
        break;
    }
}

} // namespace

int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    QStringList arguments = QGuiApplication::arguments().mid(1);
    QClipboard* clipboard = QGuiApplication::clipboard();

    // Our own writes report a change too; only losing the clipboard ends us.
    QObject::connect(clipboard, &QClipboard::changed, &application, [clipboard](auto mode) {
        if (mode == QClipboard::Clipboard && !clipboard->ownsClipboard())
            QGuiApplication::quit();
    });

    if (arguments.size() == 3 && arguments.first() == u"--churn") {
        bool countOk = false;
        bool seedOk = false;
        int left = arguments.at(1).toInt(&countOk);
        std::mt19937 random(arguments.at(2).toUInt(&seedOk));
        if (!countOk || !seedOk || left < 0) {
            std::fputs("clipboard-owner: --churn COUNT SEED\n", stderr);
            return 64;
        }
        // Each content goes soon after a reader has fetched some of it, or unread after up to
        // 10 ms: readers meet every kind, and often have it change under them mid-read.
        QTimer next;
        next.setSingleShot(true);
        QObject::connect(&next, &QTimer::timeout, &application, [&] {
            if (left-- > 0) {
                auto* mime = new ServedMimeData;
                fill(*mime, random);
                mime->onServed = [&] {
                    next.start(random() % 5);
                };
                clipboard->setMimeData(mime, QClipboard::Clipboard);
                next.start(random() % 10);
                return;
            }
            clipboard->setText(u"churn done"_s, QClipboard::Clipboard);
            say("done");
        });
        next.start(0);
        return application.exec();
    }

    const auto usage = [] {
        std::fputs("usage: clipboard-owner [--file TYPE PATH | --freeze-after N | --vanish-after N]"
                   "... TYPE TEXT [TYPE TEXT]... | --churn COUNT SEED\n",
                   stderr);
        return 64;
    };
    auto* mime = new ServedMimeData;
    int served = 0;
    int freezeAfter = -1;
    int vanishAfter = -1;
    for (qsizetype i = 0; i < arguments.size();) {
        const QString& argument = arguments.at(i);
        if (argument == u"--file" && i + 2 < arguments.size()) {
            QFile file(arguments.at(i + 2));
            if (!file.open(QIODevice::ReadOnly)) {
                std::fputs("clipboard-owner: cannot read the file\n", stderr);
                return 66;
            }
            mime->setData(arguments.at(i + 1), file.readAll());
            i += 3;
        } else if ((argument == u"--freeze-after" || argument == u"--vanish-after") &&
                   i + 1 < arguments.size()) {
            (argument == u"--freeze-after" ? freezeAfter : vanishAfter) =
                arguments.at(i + 1).toInt();
            i += 2;
        } else if (!argument.startsWith(u"--") && i + 1 < arguments.size()) {
            mime->setData(argument, arguments.at(i + 1).toUtf8());
            i += 2;
        } else {
            return usage();
        }
    }
    if (mime->formats().isEmpty())
        return usage();
    clipboard->setMimeData(mime, QClipboard::Clipboard);
    if (!clipboard->ownsClipboard()) {
        std::fputs("clipboard-owner: could not take the clipboard\n", stderr);
        return 1;
    }
    // Counted from here: only other programs' requests.
    mime->onServed = [&] {
        if (served == freezeAfter)
            std::raise(SIGSTOP);
        if (served == vanishAfter)
            std::_Exit(0);
        ++served;
    };
    say("owned");
    return application.exec();
}
