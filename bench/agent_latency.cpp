// From the poll that sees a copy to the panel showing the dictionary answer, in process:
// the real coordinator, lookup engine, word database, system dictionaries and panel, with
// the clipboard scripted so only our own work is timed. Run it on a display
// (tests/harness/desktop-session) or with QT_QPA_PLATFORM=offscreen.
#include "LatencyCounters.h"
#include "core/AppCore.h"
#include "dictionary/BundledDictionary.h"
#include "dictionary/SystemDictionaryCatalog.h"
#include "harness/ScriptedPasteboard.h"
#include "logs/EventLog.h"
#include "lookup/LookupEngine.h"
#include "lookup/TranslationEngine.h"
#include "notebook/Vocabulary.h"
#include "platform/Platform.h"
#include "platform/TranslationEngineFactory.h"
#include "settings/DefaultsStore.h"
#include "settings/FilterPreferences.h"
#include "settings/Preferences.h"
#include "settings/TranslationSettings.h"
#include "settings/TriggerSettings.h"
#include "support/MadeUpWords.h"
#include "ui/NotchPanel.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QWidget>
#include <sqlite3.h>

using namespace Qt::StringLiterals;

namespace {

// The most frequent words of the database, so every copy is a dictionary answer.
QStringList commonWords(int count) {
    QStringList words;
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(BundledDictionary::shared().path().toUtf8().constData(), &db,
                        SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
        sqlite3_stmt* statement = nullptr;
        sqlite3_prepare_v2(db, "SELECT word FROM words WHERE length(word) > 3 LIMIT ?", -1,
                           &statement, nullptr);
        sqlite3_bind_int(statement, 1, count);
        while (sqlite3_step(statement) == SQLITE_ROW)
            words.append(QString::fromUtf8(
                reinterpret_cast<const char*>(sqlite3_column_text(statement, 0))));
        sqlite3_finalize(statement);
    }
    sqlite3_close(db);
    return words;
}

// The agent's parts as its start-up wires them, with the clipboard scripted.
struct Agent {
    Agent()
        : translator(
              TranslationEngineFactory::create(TranslationSettings::shared(), EventLog::shared())),
          catalog(Preferences::shared()), engine({.bundled = BundledDictionary::shared(),
                                                  .catalog = catalog,
                                                  .translator = *translator,
                                                  .logError = {}}),
          core({.presenter = panel,
                .pasteboard = pasteboard,
                .translator = *translator,
                .engine = engine,
                .vocabulary = Vocabulary::shared(),
                .log = EventLog::shared(),
                .preferences = Preferences::shared(),
                .triggers = TriggerSettings::shared(),
                .filter = FilterPreferences::shared()}) {
        core.start();
        panel.showAtRest();
    }

    const std::unique_ptr<TranslationEngine> translator;
    const SystemDictionaryCatalog catalog;
    const LookupEngine engine;
    NotchPanel panel;
    ScriptedPasteboard pasteboard;
    AppCore core;
};

// Times each copy from the poll that sees it to the answer drawn.
void measureCopies(benchmark::State& state, Agent& agent) {
    const QStringList words = commonWords(2000);
    if (words.isEmpty()) {
        state.SkipWithError("no word database");
        return;
    }
    std::vector<double> micros;
    qsizetype next = 0;
    for (auto _ : state) {
        agent.pasteboard.copyText(words[next++ % words.size()]);
        QElapsedTimer timer;
        timer.start();
        agent.core.clipboard().poll();
        // Drawn: the window's content is painted before the time is taken.
        agent.panel.window()->repaint();
        micros.push_back(double(timer.nsecsElapsed()) / 1000.0);
        if (agent.panel.state() != NotchPanel::State::result) {
            state.SkipWithError("the panel did not show a result");
            return;
        }
        // As between two real copies: the other tabs fill, the animation runs and the
        // notebook's write (on its own thread) ends, so the next copy saves at once.
        state.PauseTiming();
        QCoreApplication::processEvents();
        DefaultsStore::shared().waitForWrites();
        QCoreApplication::processEvents();
        state.ResumeTiming();
    }
    reportLatencies(state, micros);
}

void CopyToPanel(benchmark::State& state) {
    Agent agent;
    measureCopies(state, agent);
}
BENCHMARK(CopyToPanel)->Iterations(1000)->Unit(benchmark::kMicrosecond);

// The same with the notebook at its capacity: every copied word evicts the oldest entry and
// the whole list is saved (written on the store's own thread, as in the agent).
void CopyToPanelWithFullNotebook(benchmark::State& state) {
    Agent agent;
    Vocabulary& vocabulary = Vocabulary::shared();
    for (int n = 0;
         n < 2 * Vocabulary::historyLimit && vocabulary.entries().size() < Vocabulary::historyLimit;
         ++n)
        vocabulary.record(madeUpWord(u"zz"_s, n));
    measureCopies(state, agent);
}
BENCHMARK(CopyToPanelWithFullNotebook)->Iterations(1000)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir home;
    qputenv("HOME", home.path().toUtf8());
    for (const char* variable :
         {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME", "XDG_CACHE_HOME"})
        qunsetenv(variable);
    Platform::install();
    QApplication application(argc, argv);
    DefaultsStore::shared().writeInBackground();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
