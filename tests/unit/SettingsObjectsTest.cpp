#include "harness/QtPrinters.h"
#include "settings/DefaultsStore.h"
#include "settings/EventLog.h"
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
    QStringList lines;
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

TEST_F(SettingsObjectsTest, FreshInstallDefaults) {
    const Preferences preferences(*store, dictionaries());
    const TriggerSettings triggers(*store);
    const FilterPreferences filter(*store, log);

    EXPECT_DOUBLE_EQ(preferences.hoverDwellSeconds(), 0.3);
    EXPECT_TRUE(preferences.vocabularyEnabled());
    EXPECT_FALSE(preferences.speaksOnLookup());
    EXPECT_EQ(preferences.lengthLimit(), TranslationLimit::standard);
    EXPECT_DOUBLE_EQ(preferences.autoHideSeconds(), 5.0);
    EXPECT_EQ(preferences.reopenTarget(), Preferences::ReopenTarget::settings);
    EXPECT_FALSE(triggers.selectionEnabled());
    EXPECT_FALSE(triggers.videoSubtitlesEnabled());
    EXPECT_TRUE(triggers.pausesVideoOnPeek());
    EXPECT_TRUE(triggers.resumesVideoAfterPeek());
    EXPECT_TRUE(triggers.expandsOnNotchHover());
    EXPECT_EQ(triggers.pointerKey(), TriggerSettings::PointerKey::option);
    EXPECT_EQ(triggers.method(), TriggerSettings::Method::copy);
    EXPECT_EQ(triggers.hotKey(), HotKeySpec::defaultLookup());
    EXPECT_FALSE(filter.showsEverything());

    // Written at once: the hot key's stored form and the first dictionary order.
    DefaultsStore& next = restart();
    EXPECT_EQ(next.dataIfPresent(u"trigger.hotKey"_s).value_or(QByteArray()),
              HotKeySpec::defaultLookup().toJson());
    EXPECT_EQ(next.stringListIfPresent(u"dictionaryOrder"_s),
              (QStringList{u"bundled"_s, u"stardict:langdao-ec"_s, u"stardict:oxford-en"_s,
                           u"com.apple.dictionary.AppleDictionary"_s}));
    EXPECT_FALSE(next.contains(u"historyEnabled"_s)) << "registered defaults stay in memory";
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

TEST_F(SettingsObjectsTest, HotKeyLoadsInThreeWays) {
    TriggerSettings triggers(*store);
    const QString key = u"test.hotKey"_s;
    EXPECT_EQ(triggers.loadHotKey(key), HotKeySpec::defaultLookup()) << "absent";
    store->setValue(key, QByteArray());
    EXPECT_EQ(triggers.loadHotKey(key), std::nullopt) << "empty data: explicitly none";
    store->setValue(key, QByteArray("not json"));
    EXPECT_EQ(triggers.loadHotKey(key), std::nullopt);
    const HotKeySpec spec{49, HotKeySpec::control | HotKeySpec::shift};
    triggers.store(spec, key);
    EXPECT_EQ(triggers.loadHotKey(key), spec);

    // "No hot key" survives a restart instead of turning back into the default.
    triggers.setHotKey(std::nullopt);
    EXPECT_EQ(TriggerSettings(restart()).hotKey(), std::nullopt);
}

TEST_F(SettingsObjectsTest, ChangesAreWrittenAndAnnounced) {
    Preferences preferences(*store, dictionaries());
    TriggerSettings triggers(*store);
    FilterPreferences filter(*store, log);
    QStringList changed;
    QObject::connect(&triggers, &TriggerSettings::changed,
                     [&changed](const QString& property) { changed.append(property); });

    triggers.setPointerKey(TriggerSettings::PointerKey::command);
    triggers.setMethod(TriggerSettings::Method::hotKey);
    preferences.setReopenTarget(Preferences::ReopenTarget::notebook);
    preferences.setRemovedDictionaries({u"stardict:oxford-en"_s});
    filter.setShowsEverything(true);

    EXPECT_EQ(changed, (QStringList{u"pointerKey"_s, u"method"_s}));
    EXPECT_EQ(log.entries().first().text, u"显示全部查询结果：开"_s);
    EXPECT_EQ(preferences.effectiveDictionaryOrder(),
              (QStringList{u"bundled"_s, u"stardict:langdao-ec"_s,
                           u"com.apple.dictionary.AppleDictionary"_s}));

    DefaultsStore& next = restart();
    EXPECT_EQ(TriggerSettings(next).pointerKey(), TriggerSettings::PointerKey::command);
    EXPECT_EQ(TriggerSettings(next).method(), TriggerSettings::Method::hotKey);
    EXPECT_EQ(Preferences(next, dictionaries()).reopenTarget(),
              Preferences::ReopenTarget::notebook);
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

TEST_F(SettingsObjectsTest, FailedLoginItemShowsWhatTheSystemHas) {
    // The autostart folder cannot be made: its parent is a file.
    const QByteArray saved = qgetenv("XDG_CONFIG_HOME");
    QFile blocker(folder.filePath(u"config"_s));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    qputenv("XDG_CONFIG_HOME", blocker.fileName().toUtf8());
    Preferences preferences(*store, dictionaries());
    preferences.setLaunchAtLogin(true);
    EXPECT_FALSE(preferences.launchAtLogin());
    ASSERT_TRUE(preferences.launchAtLoginFailure());
    EXPECT_TRUE(preferences.launchAtLoginFailure()->startsWith(u"开机自启设置失败："_s));
    qputenv("XDG_CONFIG_HOME", saved);
}
