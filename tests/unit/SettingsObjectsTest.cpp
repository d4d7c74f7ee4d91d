#include "harness/QtPrinters.h"
#include "logs/EventLog.h"
#include "settings/DefaultsStore.h"
#include "settings/FilterPreferences.h"
#include "settings/Preferences.h"
#include "settings/TriggerSettings.h"

#include <QMetaEnum>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

QString nameOf(Settings::Id setting) {
    return QString::fromLatin1(QMetaEnum::fromType<Settings::Id>().valueToKey(int(setting)));
}

// Settings objects made over a real store file, as at a start of the program.
class SettingsObjectsTest : public testing::Test {
protected:
    QTemporaryDir folder;
    QString file = folder.filePath(u"defaults.json"_s);
    std::unique_ptr<DefaultsStore> store = std::make_unique<DefaultsStore>(file);
    EventLog log{{}, false};

    // What the next start of the program reads.
    DefaultsStore& restart() {
        store = std::make_unique<DefaultsStore>(file);
        return *store;
    }
    Preferences::Dictionaries dictionaries() const {
        return {[] {
                    return QStringList{u"com.apple.dictionary.AppleDictionary"_s,
                                       u"stardict:oxford-en"_s, u"stardict:langdao-ec"_s};
                },
                [](const QString& id) {
                    return id == u"stardict:langdao-ec"_s;
                }};
    }
};

} // namespace

TEST_F(SettingsObjectsTest, FreshInstallWritesTheHotKeyAndTheFirstDictionaryOrder) {
    {
        const Preferences preferences(*store, dictionaries());
        const TriggerSettings triggers(*store);
    }
    DefaultsStore& next = restart();
    EXPECT_EQ(next.dataIfPresent(u"trigger.hotKey"_s), HotKeySpec::defaultLookup().toJson());
    EXPECT_EQ(next.stringListIfPresent(u"dictionaryOrder"_s),
              (QStringList{u"bundled"_s, u"stardict:langdao-ec"_s, u"stardict:oxford-en"_s,
                           u"com.apple.dictionary.AppleDictionary"_s}));
    EXPECT_FALSE(next.contains(u"historyEnabled"_s)) << "registered defaults stay in memory";

    TriggerSettings(next).setHotKey(std::nullopt);
    EXPECT_EQ(TriggerSettings(restart()).hotKey(), std::nullopt)
        << "no hot key stays none instead of turning back into the default";
}

TEST_F(SettingsObjectsTest, OlderSettingsAreCarriedForwardOnce) {
    store->setValues({
        {u"trigger.mode"_s, u"quiet"_s},
        {u"trigger.regionLookupEnabled"_s, true},
        {u"trigger.regionHotKey"_s, QByteArray("{}")},
        {u"trigger.pausesVideoOnPeek"_s, u"yes"_s},
        {u"dictionaryOrder"_s, QVariantList{}},
        {u"dictionarySource"_s, u"systemAny"_s},
        {u"selectionEnabled"_s, true},
        {u"textLengthLimit"_s, 5000},
        {u"filter.blocksURLOrPath"_s, false},
        {u"trigger.translatesSubtitles"_s, true},
    });
    const Preferences preferences(*store, dictionaries());
    const TriggerSettings triggers(*store);
    const FilterPreferences filter(*store, log);

    EXPECT_FALSE(triggers.selectionEnabled());
    EXPECT_TRUE(triggers.isMuted());
    EXPECT_TRUE(triggers.pointerLookupEnabled());
    EXPECT_TRUE(triggers.pausesVideoOnPeek()) << "a text where a boolean belongs reads as on";
    EXPECT_EQ(preferences.dictionaryOrder(),
              (QStringList{u"stardict:oxford-en"_s, u"stardict:langdao-ec"_s, u"bundled"_s,
                           u"com.apple.dictionary.AppleDictionary"_s}));

    DefaultsStore& next = restart();
    for (const QString& gone :
         {u"trigger.mode"_s, u"trigger.regionLookupEnabled"_s, u"trigger.regionHotKey"_s,
          u"dictionarySource"_s, u"selectionEnabled"_s, u"textLengthLimit"_s,
          u"filter.blocksURLOrPath"_s, u"trigger.translatesSubtitles"_s})
        EXPECT_FALSE(next.contains(gone)) << gone.toStdString();
    EXPECT_EQ(next.boolIfPresent(u"triggerSuspended"_s), true);
    EXPECT_EQ(next.boolIfPresent(u"trigger.pointerLookupEnabled"_s), true);
}

TEST_F(SettingsObjectsTest, SelectionFallsBackToItsOlderKey) {
    store->setValue(u"selectionEnabled"_s, true);
    EXPECT_TRUE(TriggerSettings(*store).selectionEnabled());
    store->setValues({{u"trigger.selectionEnabled"_s, false}, {u"selectionEnabled"_s, true}});
    EXPECT_FALSE(TriggerSettings(*store).selectionEnabled());
    store->setValue(u"trigger.mode"_s, u"active"_s);
    EXPECT_TRUE(TriggerSettings(*store).selectionEnabled());
}

TEST_F(SettingsObjectsTest, ChangesAreWrittenAndAnnounced) {
    Preferences preferences(*store, dictionaries());
    FilterPreferences filter(*store, log);
    QStringList changed;
    QObject::connect(&preferences, &Preferences::changed,
                     [&changed](Settings::Id setting) { changed.append(nameOf(setting)); });
    preferences.setRemovedDictionaries({u"stardict:oxford-en"_s});
    filter.setShowsEverything(true);
    EXPECT_EQ(changed, QStringList{u"removedDictionaries"_s});
    EXPECT_EQ(log.entries().first().text, u"显示全部查询结果：开"_s);

    DefaultsStore& next = restart();
    EXPECT_EQ(Preferences(next, dictionaries()).effectiveDictionaryOrder(),
              (QStringList{u"bundled"_s, u"stardict:langdao-ec"_s,
                           u"com.apple.dictionary.AppleDictionary"_s}));
    EXPECT_TRUE(FilterPreferences(next, log).showsEverything());
}

TEST_F(SettingsObjectsTest, DeniedChangeLeavesTheSettingAsItWas) {
    TriggerSettings triggers(*store);
    const auto needsAccessibility =
        [](const TriggerSettings& proposed) -> std::optional<TriggerSettings::Denial> {
        if (proposed.selectionEnabled() || proposed.method() == TriggerSettings::Method::hotKey)
            return TriggerSettings::Denial{u"未授权辅助功能"_s};
        return std::nullopt;
    };
    EXPECT_TRUE(triggers.trySetSelection(true, needsAccessibility));
    EXPECT_FALSE(triggers.selectionEnabled());
    EXPECT_TRUE(triggers.trySetMethod(TriggerSettings::Method::hotKey, needsAccessibility));
    EXPECT_EQ(triggers.method(), TriggerSettings::Method::copy);
    EXPECT_FALSE(triggers.trySetSelection(false, needsAccessibility));
}

// A command (a second store on the file) changes settings while the agent's objects live:
// they take the values in and announce them as their own changes.
TEST_F(SettingsObjectsTest, ValuesStoredByAnotherProcessAreTakenIn) {
    Preferences preferences(*store, dictionaries());
    TriggerSettings triggers(*store);
    FilterPreferences filter(*store, log);
    QStringList announced;
    const auto listen = [&announced](auto* object) {
        QObject::connect(object, &std::remove_pointer_t<decltype(object)>::changed,
                         [&announced](Settings::Id setting) { announced.append(nameOf(setting)); });
    };
    listen(&preferences);
    listen(&triggers);
    listen(&filter);
    bool hotKeyAnnounced = false;
    QObject::connect(&triggers, &TriggerSettings::changed, [&](Settings::Id setting) {
        hotKeyAnnounced = hotKeyAnnounced || setting == Settings::Id::hotKey;
    });

    DefaultsStore command(file);
    command.setValues({{u"hoverDwellSeconds"_s, 1.5},
                       {u"historyEnabled"_s, false},
                       {u"trigger.method"_s, u"hotKey"_s},
                       {u"trigger.selectionEnabled"_s, true},
                       {u"trigger.hotKey"_s, QByteArray()},
                       {u"filter.showsEverything"_s, true}});
    store->refresh();
    EXPECT_DOUBLE_EQ(preferences.hoverDwellSeconds(), 1.5);
    EXPECT_FALSE(preferences.vocabularyEnabled());
    EXPECT_EQ(triggers.method(), TriggerSettings::Method::hotKey);
    EXPECT_TRUE(triggers.selectionEnabled());
    EXPECT_EQ(triggers.hotKey(), std::nullopt);
    EXPECT_TRUE(hotKeyAnnounced);
    EXPECT_TRUE(filter.showsEverything());
    announced.sort();
    EXPECT_EQ(announced,
              (QStringList{u"hotKey"_s, u"hoverDwellSeconds"_s, u"method"_s, u"selectionEnabled"_s,
                           u"showsEverything"_s, u"vocabularyEnabled"_s}));

    // The agent's own later change leaves the command's values as they are.
    triggers.setMuted(true);
    DefaultsStore after(file);
    EXPECT_EQ(after.stringValue(u"trigger.method"_s), u"hotKey"_s);
    EXPECT_DOUBLE_EQ(after.doubleValue(u"hoverDwellSeconds"_s), 1.5);
}
