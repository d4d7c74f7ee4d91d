#include "QuilletApp.h"

#include "AgentWindows.h"
#include "SingleInstance.h"
#include "TerminationSignals.h"
#include "app/wiring/SentenceTranslator.h"
#include "core/AppCore.h"
#include "dictionary/BundledDictionary.h"
#include "dictionary/Pronouncer.h"
#include "dictionary/SystemDictionaryCatalog.h"
#include "logs/DiagnosticLog.h"
#include "logs/EventLog.h"
#include "lookup/LookupEngine.h"
#include "lookup/TranslationEngine.h"
#include "notebook/Vocabulary.h"
#include "platform/CaptureAdapters.h"
#include "platform/MemoryHygiene.h"
#include "platform/SystemDictionaryBridge.h"
#include "platform/SystemPasteboard.h"
#include "platform/TranslationEngineFactory.h"
#include "settings/DefaultsStore.h"
#include "settings/FilterPreferences.h"
#include "settings/InterfaceSettings.h"
#include "settings/Preferences.h"
#include "settings/RenameMigration.h"
#include "settings/TranslationSettings.h"
#include "settings/TriggerSettings.h"
#include "ui/NotchPanel.h"
#include "ui/RegionOverlay.h"
#include "ui/TrayIcon.h"

#include <QApplication>
#include <QDesktopServices>
#include <QDir>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QScreen>
#include <QTextEdit>
#include <QTimer>
#include <QUrl>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace QuilletApp {
namespace {

// The clipboard is polled every 0.4 s; tests that push thousands of copies through the agent
// may poll faster.
int clipboardPollMs() {
    bool ok = false;
    const int value = qEnvironmentVariableIntValue("QUILLET_CLIPBOARD_POLL_MS", &ok);
    return ok && value > 0 ? value : 400;
}

void openInDictionary(const QString& word) {
    // The desktop's handler of dict: links, if one is installed.
    if (!QDesktopServices::openUrl(
            QUrl(u"dict://"_s + QString::fromUtf8(QUrl::toPercentEncoding(word)))))
        EventLog::shared().append(EventLog::Kind::error, u"找不到「词典」App"_s);
}

// The hot key pressed over one of the program's own windows: the focused text control's
// selection.
std::optional<QString> ownWindowSelection() {
    QWidget* focused = QApplication::focusWidget();
    if (const auto* line = qobject_cast<QLineEdit*>(focused);
        line && line->echoMode() == QLineEdit::Normal)
        return line->selectedText();
    if (const auto* text = qobject_cast<QTextEdit*>(focused))
        return text->textCursor().selectedText();
    if (const auto* plain = qobject_cast<QPlainTextEdit*>(focused))
        return plain->textCursor().selectedText();
    return std::nullopt;
}

// Commands and people change the settings file too: the agent takes their changes in as they
// land. A write that fails (full disk, read-only folder) keeps the changes in memory; the
// person is told once, and the agent tries again until the disk takes them.
void watchSettingsFile(DefaultsStore& store, NotchPanel& panel, EventLog& log) {
    store.watchFile();
    QObject::connect(&store, &DefaultsStore::changedElsewhere, &panel, [&log](QStringList keys) {
        keys.replaceInStrings(QRegularExpression(u"^vocabulary2$"_s), u"生词本"_s);
        log.append(EventLog::Kind::trigger,
                   u"设置｜已采用其他程序保存的改动："_s + keys.join(u"、"_s));
    });
    auto* retry = new QTimer(&panel);
    retry->setInterval(std::chrono::seconds(30));
    QObject::connect(retry, &QTimer::timeout, &store, [&store] { store.retryUnsavedChanges(); });
    QObject::connect(
        &store, &DefaultsStore::writeFailed, &panel,
        [&panel, &log, retry](const SafeFiles::Failure& failure) {
            log.append(EventLog::Kind::error,
                       u"设置｜无法保存设置和生词本：%1；改动暂存在内存里"_s.arg(failure.reason));
            panel.showNotice(
                u"无法保存设置和生词本：%1。改动先留在内存里，能写入时会自动保存。"_s.arg(
                    failure.reason));
            retry->start();
        });
    QObject::connect(&store, &DefaultsStore::writesRecovered, &panel, [&log, retry] {
        retry->stop();
        log.append(EventLog::Kind::result, u"设置｜暂存的改动已写入磁盘"_s);
    });
}

} // namespace

int run(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
        qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        std::fputs(
            "Quillet 需要在图形桌面里运行（没有找到 DISPLAY）。命令行用法见 quillet help。\n",
            stderr);
        return 69;
    }
    MemoryHygiene::returnLargeBlocks();
    QApplication application(argc, argv);
    QApplication::setApplicationName(u"Quillet"_s);
    QApplication::setQuitOnLastWindowClosed(false);
    const auto flushLog = qScopeGuard([] { DiagnosticLog::flush(); });

    // `--export-diagnostics [FOLDER]` asks the running agent for the diagnostics archive; with
    // no agent running, this one starts, writes it and quits.
    const QStringList arguments = QApplication::arguments();
    const qsizetype exportAt = arguments.indexOf(u"--export-diagnostics"_s);
    std::optional<QString> exportFolder;
    if (exportAt > 0) {
        const QString folder = arguments.value(exportAt + 1);
        exportFolder = folder.isEmpty() ? QString() : QDir(folder).absolutePath();
    }
    if (exportFolder && exportFolder->contains(u'\n')) {
        std::fputs("导出诊断信息的文件夹名里不能有换行。\n", stderr);
        return 64;
    }
    SingleInstance instance;
    switch (instance.claim(exportFolder ? AgentWindows::exportRequest(*exportFolder)
                                        : AgentWindows::reopenRequest())) {
    case SingleInstance::Role::handedOver:
        return 0;
    case SingleInstance::Role::failed:
        std::fputs((instance.failure() + u'\n').toUtf8().constData(), stderr);
        return 75;
    case SingleInstance::Role::agent:
        break;
    }
    // The installed dictionaries are listed on a worker while the rest starts up.
    SystemDictionaryBridge::followChanges();

    // Start-up order: the former identity's settings first, then the settings objects, then
    // the coordinator.
    RenameMigration::runIfNeeded();
    // The file is written off the main thread from here on; what waits is written at quit.
    DefaultsStore& store = DefaultsStore::shared();
    store.writeInBackground();
    Preferences& preferences = Preferences::shared();
    TriggerSettings& triggers = TriggerSettings::shared();
    FilterPreferences& filter = FilterPreferences::shared();
    EventLog& log = EventLog::shared();
    Vocabulary& vocabulary = Vocabulary::shared();
    QObject::connect(&application, &QCoreApplication::aboutToQuit, &store, [&vocabulary, &store] {
        vocabulary.flush();
        store.waitForWrites();
    });

    const std::unique_ptr<Pasteboard> pasteboard = makeSystemPasteboard();
    const CaptureAdapters capture = makeCaptureAdapters();
    const std::unique_ptr<TranslationEngine> translator = makeSentenceTranslator();
    const SystemDictionaryCatalog catalog(preferences);
    BundledDictionary& bundled = BundledDictionary::shared();
    const LookupEngine engine({.bundled = bundled,
                               .catalog = catalog,
                               .translator = *translator,
                               .logError = [&log](const QString& content) {
                                   log.append(EventLog::Kind::error, content);
                               }});
    NotchPanel::Timings timings;
    timings.autoHide = std::chrono::milliseconds(qRound64(preferences.autoHideSeconds() * 1000));
    NotchPanel panel(timings);
    // The window's title mirrors the panel's state, so tests and tools can watch it.
    const auto mirrorState = [&panel] {
        panel.window()->setWindowTitle(u"Quillet 面板｜"_s + NotchPanel::stateName(panel.state()) +
                                       u"｜"_s + panel.headlineText() + u"｜"_s +
                                       panel.tabIds().join(u',') + u"｜"_s + panel.message());
    };
    QObject::connect(&panel, &NotchPanel::stateChanged, &panel, mirrorState);
    QObject::connect(&panel, &NotchPanel::contentChanged, &panel, mirrorState);
    mirrorState();
    InterfaceSettings& interface = InterfaceSettings::shared();
    AgentWindows windows({.preferences = preferences,
                          .triggers = triggers,
                          .filter = filter,
                          .translation = TranslationSettings::shared(),
                          .interface = interface,
                          .translator = *translator,
                          .vocabulary = vocabulary,
                          .log = log,
                          .dictionaries = catalog},
                         store);
    RegionOverlay regionOverlay;
    AppCore core(
        {.presenter = panel,
         .pasteboard = *pasteboard,
         .translator = *translator,
         .engine = engine,
         .vocabulary = vocabulary,
         .log = log,
         .preferences = preferences,
         .triggers = triggers,
         .filter = filter,
         .speak = [](const QString& text) { Pronouncer::shared().speak(text); },
         .openInDictionary = openInDictionary,
         .openTranslationSettings = [&windows] { windows.openTranslationSettings(); },
         // A damaged database says so itself ("内置词库无法读取…"); this is for none at all.
         .wordDatabaseMissing = !bundled.isAvailable() && !bundled.problem(),
         .clipboardPollMs = clipboardPollMs(),
         .capture = &capture,
         .store = &store,
         .copyFromOwnWindow = ownWindowSelection,
         .presentPermissionPrompt =
             [&windows](PermissionCenter::Feature) { windows.openPermissionsPage(); },
         .openPermissionsPage =
             [&windows](SystemPermissions::Kind) { windows.openPermissionsPage(); },
         .regionPicker = &regionOverlay});
    windows.attach(core);
    // The windows hold on to the coordinator's services: they go first.
    const auto closeWindows = qScopeGuard([&windows] { windows.closeAll(); });

    watchSettingsFile(store, panel, log);

    TrayIcon tray(triggers);
    QObject::connect(&tray, &TrayIcon::quitRequested, &application, &QApplication::quit);
    QObject::connect(&tray, &TrayIcon::lookUpSelectionRequested, &core,
                     [&core] { core.lookupSelection(); });
    QObject::connect(&tray, &TrayIcon::regionLookupRequested, &core,
                     [&core] { core.beginRegionLookup(); });
    QObject::connect(&tray, &TrayIcon::settingsRequested, &windows,
                     [&windows] { windows.openSettings(); });
    QObject::connect(&tray, &TrayIcon::eventLogRequested, &windows,
                     [&windows] { windows.openSettings(SettingsPage::eventLog); });
    TerminationSignals termination;
    QObject::connect(&termination, &TerminationSignals::received, &application,
                     &QApplication::quit);
    QObject::connect(&instance, &SingleInstance::messageReceived, &windows,
                     &AgentWindows::handleRequest);
    tray.show();
    panel.setShowsAtRest(interface.showsIdleNotch());
    QObject::connect(&interface, &SettingsObject::changed, &panel,
                     [&panel, &interface](Settings::Id setting) {
                         if (setting == Settings::Id::showsIdleNotch)
                             panel.setShowsAtRest(interface.showsIdleNotch());
                     });
    core.start();
    if (const QScreen* screen = QApplication::primaryScreen())
        core.noteDisplayLayout(screen->name(), false);
    core.learnTranslatorStatus();
    if (exportFolder) {
        windows.exportDiagnostics(*exportFolder);
        return 0;
    }
    windows.showOnboardingIfFirstRun();
    return QApplication::exec();
}

} // namespace QuilletApp
