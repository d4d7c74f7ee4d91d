#include "harness/QtPrinters.h"
#include "logs/EventLog.h"
#include "settings/DefaultsStore.h"
#include "settings/FilterPreferences.h"
#include "settings/Preferences.h"
#include "settings/TriggerSettings.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

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

    // Gone from the file: the setting table's own test checks every former key.
    DefaultsStore& next = restart();
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
