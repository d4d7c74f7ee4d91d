// The settings window outside the agent, on a fresh home of its own:
//   QT_QPA_PLATFORM=offscreen settings-preview OUTPUT_DIR   one PNG per page, and onboarding
//   settings-preview --measure                              milliseconds to the first page drawn
// The home is a temporary folder, so the person's own settings are never read or written.

#include "app/wiring/SentenceTranslator.h"
#include "dictionary/SystemDictionaryCatalog.h"
#include "logs/EventLog.h"
#include "lookup/TranslationEngine.h"
#include "notebook/Vocabulary.h"
#include "platform/Platform.h"
#include "settings/FilterPreferences.h"
#include "settings/InterfaceSettings.h"
#include "settings/Preferences.h"
#include "settings/TranslationSettings.h"
#include "settings/TriggerSettings.h"
#include "ui/onboarding/OnboardingWindow.h"
#include "ui/settings/SettingsWindow.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QPixmap>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

// Counts the window's paints, to tell when its first page is on screen.
class PaintWatch : public QObject {
public:
    bool painted = false;
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint)
            painted = true;
        return false;
    }
};

// A few lines of the kind a session leaves, so the event-log page shows what it is for.
void sampleLog(EventLog& log) {
    log.append(EventLog::Kind::trigger, u"复制｜"_s + EventLog::privateSegment(u"serendipity"_s));
    log.append(EventLog::Kind::result, u"查词｜简明英汉｜serendipity"_s);
    log.append(EventLog::Kind::reject, u"复制｜疑似 URL / 文件路径"_s);
}

} // namespace

int main(int argc, char** argv) {
    QTemporaryDir home;
    qputenv("HOME", home.path().toUtf8());
    for (const char* variable :
         {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME", "XDG_CACHE_HOME"})
        qunsetenv(variable);
    if (qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR") &&
        QDir(home.path())
            .mkdir(u"runtime"_s,
                   QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner))
        qputenv("XDG_RUNTIME_DIR", (home.path() + u"/runtime"_s).toUtf8());
    Platform::install();
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments().mid(1);
    const bool measure = arguments.value(0) == u"--measure"_s;
    if (arguments.size() != 1) {
        QTextStream(stderr) << "usage: settings-preview OUTPUT_DIR | --measure\n";
        return 64;
    }

    QElapsedTimer clock;
    Preferences& preferences = Preferences::shared();
    const std::unique_ptr<TranslationEngine> translator = makeSentenceTranslator();
    const SystemDictionaryCatalog catalog(preferences);
    EventLog& log = EventLog::shared();
    if (!measure)
        sampleLog(log);
    clock.start();
    SettingsWindow window(SettingsContext{.preferences = preferences,
                                          .triggers = TriggerSettings::shared(),
                                          .filter = FilterPreferences::shared(),
                                          .translation = TranslationSettings::shared(),
                                          .interface = InterfaceSettings::shared(),
                                          .translator = *translator,
                                          .vocabulary = Vocabulary::shared(),
                                          .log = log,
                                          .dictionaries = catalog});
    if (measure) {
        PaintWatch watch;
        window.page(SettingsPage::general)->installEventFilter(&watch);
        window.present(SettingsPage::general);
        while (!watch.painted)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        QTextStream(stdout) << clock.nsecsElapsed() / 1e6 << '\n';
        return 0;
    }

    const QDir output(arguments[0]);
    if (!QDir().mkpath(output.path())) {
        QTextStream(stderr) << "cannot create " << output.path() << '\n';
        return 73;
    }
    window.resize(760, 560);
    for (SettingsPage page : SettingsPages::all()) {
        window.present(page);
        // Pages that ask something in the background get a moment to show the answer.
        QTimer::singleShot(300, &application, &QCoreApplication::quit);
        QApplication::exec();
        const QString file = output.filePath(u"settings-%1.png"_s.arg(SettingsPages::name(page)));
        if (!window.grab().save(file)) {
            QTextStream(stderr) << "cannot write " << file << '\n';
            return 74;
        }
        QTextStream(stdout) << file << '\n';
    }
    window.hide();

    OnboardingWindow onboarding({.interface = InterfaceSettings::shared(),
                                 .triggers = TriggerSettings::shared(),
                                 .lookUp = [](const QString&) {},
                                 .openSettings =
                                     [] {
                                     }});
    onboarding.show();
    QTimer::singleShot(300, &application, &QCoreApplication::quit);
    QApplication::exec();
    const QString file = output.filePath(u"onboarding.png"_s);
    if (!onboarding.grab().save(file)) {
        QTextStream(stderr) << "cannot write " << file << '\n';
        return 74;
    }
    QTextStream(stdout) << file << '\n';
    return 0;
}
