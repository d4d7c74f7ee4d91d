#include "dictionary/SystemDictionaryCatalog.h"

#include "dictionary/BundledDictionary.h"
#include "harness/FixtureDatabase.h"
#include "harness/QtPrinters.h"
#include "logs/EventLog.h"
#include "lookup/LookupEngine.h"
#include "lookup/UnsupportedTranslationEngine.h"
#include "platform/Platform.h"
#include "platform/SystemDictionaryBridge.h"
#include "settings/DefaultsStore.h"
#include "settings/Preferences.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using Handle = SystemDictionaryBridge::Handle;

namespace {

// Installed dictionaries played by counting functions; the real ones come back afterwards.
class SystemDictionaryCatalogTest : public testing::Test {
protected:
    QList<Handle> installed{{u"stardict:ec"_s, u"EC"_s, {}, u"v1"_s},
                            {u"dictd:en"_s, u"EN"_s, {}, u"v1"_s}};
    int listings = 0;
    int probes = 0;
    bool ecGlossesChinese = true;

    QTemporaryDir folder;
    DefaultsStore store{folder.filePath(u"defaults.json"_s)};
    Preferences preferences{store,
                            {[this] {
                                 QStringList identifiers;
                                 for (const Handle& handle : installed)
                                     identifiers.push_back(handle.identifier);
                                 return identifiers;
                             },
                             [](const QString&) {
                                 return false;
                             }}};

    void SetUp() override {
        SystemDictionaryBridge::use({
            .isAvailable = [] { return true; },
            .activeDictionaries =
                [this] {
                    ++listings;
                    return installed;
                },
            .rawDefinition = [this](const QString& word,
                                    const Handle& handle) -> std::optional<QString> {
                ++probes;
                if (handle.identifier == u"stardict:ec"_s && ecGlossesChinese)
                    return word + u"\nn. 水"_s;
                return word + u"\n  n 1: a clear liquid"_s;
            },
        });
    }
    void TearDown() override { Platform::install(); }
};

} // namespace

TEST_F(SystemDictionaryCatalogTest, VerdictIsJudgedOncePerVersionOfTheFilesAndPerCatalog) {
    const SystemDictionaryCatalog catalog(preferences);
    EXPECT_TRUE(catalog.givesChineseGloss(u"stardict:ec"_s));
    EXPECT_FALSE(catalog.givesChineseGloss(u"dictd:en"_s));
    const int judged = probes;
    EXPECT_TRUE(catalog.givesChineseGloss(u"stardict:ec"_s));
    EXPECT_FALSE(catalog.givesChineseGloss(u"dictd:en"_s));
    EXPECT_EQ(probes, judged) << "the verdict per dictionary is asked once";

    // The files change: now an English dictionary under the same name.
    installed[0].version = u"v2"_s;
    ecGlossesChinese = false;
    EXPECT_FALSE(catalog.givesChineseGloss(u"stardict:ec"_s))
        << "a changed dictionary is judged again";
    EXPECT_EQ(probes, judged + 1) << "only the changed one";

    const SystemDictionaryCatalog other(preferences);
    other.givesChineseGloss(u"dictd:en"_s);
    EXPECT_EQ(probes, judged + 2) << "catalogs keep verdicts of their own";
}

TEST_F(SystemDictionaryCatalogTest, BundledAnswerFirstListsNoSystemDictionary) {
    FixtureDatabase database{FixtureDatabase::schema() + uR"(
        INSERT INTO words VALUES ('water', NULL, 'n. 水', NULL);
    )"_s};
    const BundledDictionary bundled(database.path());
    EventLog log{{}, false};
    UnsupportedTranslationEngine translator(log);
    const SystemDictionaryCatalog catalog(preferences);
    const LookupEngine engine({.bundled = bundled, .catalog = catalog, .translator = translator});

    const struct {
        QStringList order;
        QStringList removed;
        bool listsNone; // a bundled answer is enough
        QString answer;
    } cases[] = {
        {{u"bundled"_s}, {}, true, u"bundled"_s},
        {{u"bundled"_s, u"stardict:ec"_s}, {}, true, u"bundled"_s},
        {{u"dictd:gone"_s, u"bundled"_s}, {u"dictd:gone"_s}, true, u"bundled"_s},
        // Only listing tells whether what comes before is installed.
        {{u"stardict:ec"_s, u"bundled"_s}, {}, false, u"stardict:ec"_s},
        {{u"dictd:gone"_s, u"bundled"_s}, {}, false, u"bundled"_s},
        {{u"bundled"_s}, {u"bundled"_s}, false, u"stardict:ec"_s},
    };
    for (const auto& c : cases) {
        preferences.setDictionaryOrder(c.order);
        preferences.setRemovedDictionaries(c.removed);
        listings = 0;
        const std::optional<LookupResult::Source> first = engine.firstWordSource(u"water"_s);
        ASSERT_TRUE(first) << c.order.join(u',').toStdString();
        EXPECT_EQ(listings == 0, c.listsNone) << c.order.join(u',').toStdString();
        // Whatever the shortcut, the answer is the one the full order gives.
        EXPECT_EQ(first->id, c.answer) << c.order.join(u',').toStdString();
    }
}
