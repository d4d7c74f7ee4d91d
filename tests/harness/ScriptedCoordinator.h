#pragma once

#include "core/AppCore.h"
#include "core/RegionPicker.h"
#include "dictionary/BundledDictionary.h"
#include "dictionary/WordSourceCatalog.h"
#include "harness/FixtureDatabase.h"
#include "harness/ManualTimers.h"
#include "harness/RecordingPresenter.h"
#include "harness/ScriptedAccessibleReader.h"
#include "harness/ScriptedAccessibleWords.h"
#include "harness/ScriptedClipboardSnapshots.h"
#include "harness/ScriptedFrontmost.h"
#include "harness/ScriptedHotKeys.h"
#include "harness/ScriptedKeys.h"
#include "harness/ScriptedPasteboard.h"
#include "harness/ScriptedPermissions.h"
#include "harness/ScriptedPointerEvents.h"
#include "harness/ScriptedPointerSampler.h"
#include "harness/ScriptedPowerAssertions.h"
#include "harness/ScriptedPrimarySelection.h"
#include "harness/ScriptedScreenText.h"
#include "harness/ScriptedSystemActivity.h"
#include "logs/EventLog.h"
#include "lookup/LookupEngine.h"
#include "lookup/UnsupportedTranslationEngine.h"
#include "notebook/Vocabulary.h"
#include "platform/CaptureAdapters.h"
#include "settings/DefaultsStore.h"
#include "settings/FilterPreferences.h"
#include "settings/Preferences.h"
#include "settings/TriggerSettings.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

// A box the test "draws", or a cancel.
class ScriptedRegionPicker final : public RegionPicker {
public:
    std::optional<QRect> box;
    int picks = 0;
    QCoro::Task<std::optional<QRect>> pick() override {
        ++picks;
        co_return std::optional<QRect>(box);
    }
};

// The coordinator over real settings, notebook and word database (water, river) in a
// temporary folder, with every capture adapter scripted and time moved by the test.
struct ScriptedCoordinator {
    ScriptedCoordinator() {
        adapters.pointer.reset(pointer = new ScriptedPointerEvents);
        adapters.hotKeys.reset(hotKeys = new ScriptedHotKeys);
        adapters.frontmost.reset(frontmost = new ScriptedFrontmost);
        adapters.keys.reset(keys = new ScriptedKeys);
        adapters.primary.reset(new ScriptedPrimarySelection);
        adapters.snapshots.reset(new ScriptedClipboardSnapshots(pasteboard));
        adapters.accessible.reset(accessible = new ScriptedAccessibleReader);
        adapters.permissions.reset(permissions = new ScriptedPermissions);
        adapters.pointerSampler.reset(sampler = new ScriptedPointerSampler);
        adapters.words.reset(words = new ScriptedAccessibleWords);
        adapters.screenText.reset(screen = new ScriptedScreenText);
        adapters.activity.reset(activity = new ScriptedSystemActivity);
        adapters.powerAssertions.reset(assertions = new ScriptedPowerAssertions);
    }

    void startCore() {
        core = std::make_unique<AppCore>(AppCore::Dependencies{
            .presenter = presenter,
            .pasteboard = pasteboard,
            .translator = translator,
            .engine = engine,
            .vocabulary = vocabulary,
            .log = log,
            .preferences = preferences,
            .triggers = triggers,
            .filter = filter,
            .speak = {},
            .openInDictionary = {},
            .openTranslationSettings = {},
            .now = [this] { return clock; },
            .capture = &adapters,
            .store = &store,
            .timers = &timers,
            .regionPicker = &picker,
            .steadySeconds = [this] { return timers.now().count() / 1000.0; },
            .ownPid = ownPid,
        });
        core->start();
    }
    // Lets what was started finish: queued calls, timers, the lookup.
    bool settle() {
        for (int i = 0; i < 5; ++i)
            QCoreApplication::processEvents();
        timers.advance(std::chrono::seconds(2));
        return QTest::qWaitFor([this] { return !core->isLookupInFlight(); });
    }
    // The event log, oldest first.
    QStringList logLines() const {
        QStringList lines;
        for (const EventLog::Entry& entry : log.entries())
            lines.prepend(entry.text);
        return lines;
    }

    QDateTime clock = QDateTime(QDate(2026, 3, 1), QTime(9, 0), Qt::UTC);
    QTemporaryDir dir;
    DefaultsStore store{dir.path() + QStringLiteral("/defaults.json")};
    EventLog log{{}, false};
    Preferences preferences{store, {}};
    TriggerSettings triggers{store};
    FilterPreferences filter{store, log};
    Vocabulary vocabulary{{.store = store, .recordingEnabled = [] { return true; }, .log = {}}};
    FixtureDatabase database{
        FixtureDatabase::schema() +
        QStringLiteral("INSERT INTO words VALUES ('water', 'ˈwɔːtə', 'n. 水', NULL);"
                       "INSERT INTO words VALUES ('river', 'ˈrɪvə', 'n. 河', NULL);")};
    BundledDictionary bundled{database.path()};
    BundledOnlyCatalog catalog;
    UnsupportedTranslationEngine translator{log};
    LookupEngine engine{{.bundled = bundled, .catalog = catalog, .translator = translator}};
    ScriptedPasteboard pasteboard;
    RecordingPresenter presenter;
    ManualTimers timers;
    ScriptedRegionPicker picker;
    CaptureAdapters adapters;
    ScriptedPointerEvents* pointer;
    ScriptedHotKeys* hotKeys;
    ScriptedFrontmost* frontmost;
    ScriptedKeys* keys;
    ScriptedAccessibleReader* accessible;
    ScriptedPermissions* permissions;
    ScriptedPointerSampler* sampler;
    ScriptedAccessibleWords* words;
    ScriptedScreenText* screen;
    ScriptedSystemActivity* activity;
    ScriptedPowerAssertions* assertions;
    qint32 ownPid = 7;
    std::unique_ptr<AppCore> core;
};
