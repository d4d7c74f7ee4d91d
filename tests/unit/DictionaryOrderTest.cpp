#include "settings/DictionaryOrder.h"

#include <gtest/gtest.h>
#include <harness/QtPrinters.h>

using namespace Qt::StringLiterals;

namespace {

const QString kBundled = u"bundled"_s;
const QString kApple = u"com.apple.dictionary.AppleDictionary"_s;
const QString kNOAD = u"com.apple.dictionary.NOAD"_s;
const QString kOCD = u"com.apple.dictionary.zh_CN-en.OCD"_s;
const QString kODE = u"com.apple.dictionary.ODE"_s;
const QString kStarDict = u"stardict:langdao-ec-gb"_s;
const QString kDictd = u"dictd:gcide"_s;

bool bilingual(const QString& identifier) {
    return identifier == kOCD || identifier == kStarDict;
}

} // namespace

TEST(DictionaryOrder, defaultPutsBilingualBeforeOthersAndAppleLast) {
    const std::pair<QStringList, QStringList> cases[] = {
        {{kApple, kNOAD, kOCD}, {kBundled, kOCD, kNOAD, kApple}},
        {{kDictd, kStarDict, kApple, kOCD}, {kBundled, kStarDict, kOCD, kDictd, kApple}},
        {{}, {kBundled}}};
    for (const auto& [active, expected] : cases)
        EXPECT_EQ(DictionaryOrder::defaultOrder(active, bilingual), expected)
            << active.join(u' ').toStdString();
}

// Of the old single choice only "systemAny" (system dictionaries first, in their own order)
// is kept; anything else starts from the default.
TEST(DictionaryOrder, migrationFromTheOldSingleChoice) {
    const QStringList active{kApple, kNOAD, kOCD};
    const QStringList byDefault{kBundled, kOCD, kNOAD, kApple};
    for (const std::optional<QString>& legacy :
         {std::optional<QString>(), std::optional(u"bundledFirst"_s),
          std::optional(u"systemFirst"_s), std::optional(u""_s)})
        EXPECT_EQ(DictionaryOrder::migrated(legacy, active, bilingual), byDefault)
            << legacy.value_or(u"(none)"_s).toStdString();
    EXPECT_EQ(DictionaryOrder::migrated(u"systemAny"_s, active, bilingual),
              (QStringList{kNOAD, kOCD, kBundled, kApple}));

    const auto mustNotAsk = [](const QString&) {
        ADD_FAILURE() << "systemAny keeps the active order without asking";
        return false;
    };
    EXPECT_EQ(DictionaryOrder::migrated(u"systemAny"_s, {kNOAD, kStarDict}, mustNotAsk),
              (QStringList{kNOAD, kStarDict, kBundled}));
}

TEST(DictionaryOrder, resolveKeepsSavedOrderAndAppendsNewcomers) {
    const struct {
        const char* what;
        QStringList saved;
        QSet<QString> removed;
        QStringList active;
        QStringList expected;
    } cases[] = {
        {"removed stays out, new one appended",
         {kNOAD, kBundled},
         {kOCD},
         {kNOAD, kOCD, kODE},
         {kNOAD, kBundled, kODE}},
        {"no longer active is dropped", {kODE, kNOAD, kBundled}, {}, {kNOAD}, {kNOAD, kBundled}},
        {"duplicates kept",
         {kNOAD, kBundled, kNOAD},
         {},
         {kNOAD, kOCD},
         {kNOAD, kBundled, kNOAD, kOCD}},
        {"removed even when saved",
         {kOCD, kNOAD, kBundled},
         {kOCD, kBundled},
         {kNOAD, kOCD},
         {kNOAD}},
        {"nothing saved", {}, {}, {kApple, kDictd}, {kBundled, kApple, kDictd}},
        {"unknown saved identifier", {u"stardict:gone"_s, kBundled}, {}, {}, {kBundled}}};
    for (const auto& c : cases)
        EXPECT_EQ(DictionaryOrder::resolve(c.saved, c.removed, c.active), c.expected) << c.what;
}

// Arranging what the list shows must not forget what it hides: a removed dictionary or one
// not installed right now comes back behind the entry it followed.
TEST(DictionaryOrder, arrangingKeepsHiddenEntriesInPlace) {
    const struct {
        const char* what;
        QStringList saved;
        QStringList shown;
        QStringList expected;
    } cases[] = {
        {"plain move", {kBundled, kOCD, kNOAD}, {kNOAD, kBundled, kOCD}, {kNOAD, kBundled, kOCD}},
        {"hidden rides with the entry before it",
         {kBundled, kODE, kOCD, kNOAD},
         {kOCD, kNOAD, kBundled},
         {kOCD, kNOAD, kBundled, kODE}},
        {"hidden before every shown one stays first",
         {kODE, kApple, kBundled, kOCD},
         {kOCD, kBundled},
         {kODE, kApple, kOCD, kBundled}},
        {"newcomers not yet saved take their shown place",
         {kBundled, kODE},
         {kStarDict, kBundled},
         {kStarDict, kBundled, kODE}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(DictionaryOrder::arranged(c.saved, c.shown), c.expected) << c.what;
        // What lookups walk afterwards is exactly what was shown.
        QStringList active = c.shown;
        active.removeAll(kBundled);
        EXPECT_EQ(DictionaryOrder::resolve(c.expected, {kODE, kApple}, active), c.shown) << c.what;
    }
}
