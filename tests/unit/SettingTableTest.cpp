#include "settings/SettingTable.h"

#include "harness/QtPrinters.h"
#include "harness/SettingsObjects.h"
#include "settings/DefaultsStore.h"
#include "settings/SettingsCatalog.h"

#include <QMetaEnum>
#include <QSet>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

std::string nameOf(Settings::Id setting) {
    return QMetaEnum::fromType<Settings::Id>().valueToKey(int(setting));
}

} // namespace

TEST(SettingTableTest, EverySettingIsDeclaredOnceUnderAKeyOfItsOwn) {
    const QList<Settings::Entry> entries = Settings::entries();
    EXPECT_EQ(entries.size(), QMetaEnum::fromType<Settings::Id>().keyCount());

    QSet<Settings::Id> ids;
    QSet<QString> live;
    for (const Settings::Entry& entry : entries) {
        EXPECT_FALSE(ids.contains(entry.id)) << nameOf(entry.id);
        EXPECT_FALSE(live.contains(entry.key)) << entry.key.toStdString();
        ids.insert(entry.id);
        live.insert(entry.key);
    }
    // A key carried forward or retired is removed from the file: it must never be one in use.
    QStringList gone = Settings::retiredPreferenceKeys + Settings::retiredTriggerKeys +
                       Settings::retiredFilterKeys;
    for (const Settings::Entry& entry : entries)
        gone += entry.formerKeys;
    for (const QString& key : gone)
        EXPECT_FALSE(live.contains(key)) << key.toStdString();
    EXPECT_EQ(QSet<QString>(gone.begin(), gone.end()).size(), gone.size());
}

// What `quillet settings` shows must read back as the same value, and what the store holds
// must survive the file: for every default, through text and through a restart.
TEST(SettingTableTest, EveryDefaultRoundTripsThroughTextAndTheFile) {
    QTemporaryDir folder;
    const QString file = folder.filePath(u"defaults.json"_s);
    std::apply(
        [&file](const auto&... setting) {
            const auto check = [&file](const auto& setting) {
                using Kind = typename std::remove_cvref_t<decltype(setting)>::Kind;
                if (!setting.fallback)
                    return;
                const auto& value = *setting.fallback;
                EXPECT_EQ(Kind::parse(Kind::text(value)), value)
                    << setting.key.toString().toStdString();
                DefaultsStore(file).setValue(setting.key.toString(), Kind::stored(value));
                EXPECT_EQ(Kind::read(DefaultsStore(file), setting.key.toString()), value)
                    << setting.key.toString().toStdString();
            };
            (check(setting), ...);
        },
        Settings::all());
}

TEST(SettingTableTest, TheCatalogServesEverySettingInTheTablesOrder) {
    QTemporaryDir folder;
    SettingsObjects all(folder.filePath(u"defaults.json"_s));
    const SettingsCatalog catalog(
        {&all.preferences, &all.triggers, &all.filter, &all.translation, &all.interface});

    QStringList listed;
    for (const SettingsCatalog::Setting& setting : catalog.settings())
        listed.append(setting.key);
    QStringList declared;
    for (const Settings::Entry& entry : Settings::entries())
        declared.append(entry.key);
    EXPECT_EQ(listed, declared);

    // A change from text goes through the object's own setter, with what it does besides.
    EXPECT_EQ(catalog.find(u"filter.showsEverything"_s)->write(u"on"_s), std::nullopt);
    EXPECT_TRUE(all.filter.showsEverything());
    EXPECT_EQ(all.log.entries().last().text, u"显示全部查询结果：开"_s);
    EXPECT_EQ(catalog.find(u"trigger.hotKey"_s)->write(u"none"_s), std::nullopt);
    EXPECT_EQ(all.triggers.hotKey(), std::nullopt);
}

// Each real change is announced once, as the setting it is; writing the value a setting
// already has announces nothing, whoever writes it.
TEST(SettingTableTest, ChangesAreAnnouncedOnceAndOnlyWhenTheValueDiffers) {
    QTemporaryDir folder;
    const QString file = folder.filePath(u"defaults.json"_s);
    SettingsObjects all(file);
    DefaultsStore& store = all.store;
    QList<Settings::Id> announced;
    const auto listen = [&announced](SettingsObject& object) {
        QObject::connect(&object, &SettingsObject::changed,
                         [&announced](Settings::Id setting) { announced.append(setting); });
    };
    listen(all.preferences);
    listen(all.triggers);
    listen(all.filter);
    listen(all.translation);
    const auto take = [&announced] {
        return std::exchange(announced, {});
    };

    all.triggers.setMuted(true);
    all.triggers.setMuted(true);
    all.triggers.setMethod(TriggerSettings::Method::copy);
    all.preferences.setHoverDwellSeconds(0.3);
    all.translation.setModel(u"llama3"_s);
    EXPECT_EQ(take(), (QList{Settings::Id::isMuted, Settings::Id::model}));

    DefaultsStore command(file);
    command.setValues({{u"triggerSuspended"_s, true},
                       {u"trigger.pointerKey"_s, u"command"_s},
                       {u"translation.endpoint"_s, u"http://models.lan:8080/"_s},
                       {u"dictionaryOrder"_s, QStringList{u"dictd:gcide"_s, u"bundled"_s}}});
    store.refresh();
    QList<Settings::Id> fromElsewhere = take();
    std::sort(fromElsewhere.begin(), fromElsewhere.end());
    EXPECT_EQ(fromElsewhere, (QList{Settings::Id::dictionaryOrder, Settings::Id::pointerKey,
                                    Settings::Id::endpoint}));
    EXPECT_EQ(all.translation.endpoint(), QUrl(u"http://models.lan:8080"_s));

    // Gone from the file: back to the default, except an order, which has none to go back to.
    command.remove(u"trigger.pointerKey"_s);
    command.remove(u"dictionaryOrder"_s);
    store.refresh();
    EXPECT_EQ(take(), QList{Settings::Id::pointerKey});
    EXPECT_EQ(all.triggers.pointerKey(), TriggerSettings::PointerKey::option);
    EXPECT_EQ(all.preferences.dictionaryOrder(), (QStringList{u"dictd:gcide"_s, u"bundled"_s}));
}

// Whatever an older version left, one start carries it over and leaves none of it behind.
TEST(SettingTableTest, FormerAndRetiredKeysAreGoneAfterOneStart) {
    QTemporaryDir folder;
    const QString file = folder.filePath(u"defaults.json"_s);
    QVariantMap older;
    for (const Settings::Entry& entry : Settings::entries()) {
        for (const QString& key : entry.formerKeys)
            older.insert(key, true);
    }
    for (const QString& key : Settings::retiredPreferenceKeys + Settings::retiredTriggerKeys +
                                  Settings::retiredFilterKeys)
        older.insert(key, true);
    DefaultsStore(file).setValues(older);
    {
        const SettingsObjects all(file);
        EXPECT_TRUE(all.triggers.pointerLookupEnabled()) << "the region switch carries over";
    }
    const QStringList left = DefaultsStore(file).storedKeys();
    for (auto it = older.cbegin(); it != older.cend(); ++it)
        EXPECT_FALSE(left.contains(it.key())) << it.key().toStdString();
}
