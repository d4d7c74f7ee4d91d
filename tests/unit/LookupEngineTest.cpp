#include "lookup/LookupEngine.h"

#include "dictionary/BundledDictionary.h"
#include "harness/FixtureDatabase.h"
#include "harness/QtPrinters.h"
#include "harness/ScriptedTranslator.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

// System dictionaries whose definitions are scripted as "headword|sense;sense|phonetic" lines.
class ScriptedCatalog final : public WordSourceCatalog {
public:
    QStringList order{u"bundled"_s};
    // Nothing: the dictionaries cannot be read one by one.
    std::optional<QList<SystemDictionary>> active = QList<SystemDictionary>{};
    QHash<QString, QString> definitions; // "identifier/term" → text
    QHash<QString, QString> wholeSystem; // term → text
    QSet<QString> bilingual;

    QStringList effectiveDictionaryOrder() const override { return order; }
    std::optional<QList<SystemDictionary>> activeDictionaries() const override { return active; }
    std::optional<QString> definition(const SystemDictionary& dictionary,
                                      const QString& term) const override {
        const QString key = dictionary.identifier + u'/' + term;
        return definitions.contains(key) ? std::optional(definitions[key]) : std::nullopt;
    }
    std::optional<QString> wholeSystemDefinition(const QString& term) const override {
        return wholeSystem.contains(term) ? std::optional(wholeSystem[term]) : std::nullopt;
    }
    QList<DictionaryEntry> parseDefinition(const QString& text,
                                           const QString& fallbackHeadword) const override {
        QList<DictionaryEntry> entries;
        for (const QString& line : text.split(u'\n', Qt::SkipEmptyParts)) {
            const QStringList fields = line.split(u'|');
            DictionaryEntry entry;
            entry.headword = fields[0].isEmpty() ? fallbackHeadword : fields[0];
            if (fields.size() > 2)
                entry.phonetic = fields[2];
            entry.sections.append({.senses = fields.value(1).split(u';')});
            entries.append(entry);
        }
        return entries;
    }
    bool givesChineseGloss(const QString& identifier) const override {
        return bilingual.contains(identifier);
    }
};

class LookupEngineTest : public testing::Test {
protected:
    FixtureDatabase database{FixtureDatabase::schema() + uR"(
        INSERT INTO words VALUES ('hello', 'hә''lәu', 'interj. 喂, 嘿', NULL);
        INSERT INTO words VALUES ('colour', NULL, 'n. 〈英〉 see color', NULL);
    )"_s};
    BundledDictionary bundled{database.path()};
    ScriptedCatalog catalog;
    ScriptedTranslator translator;
    QStringList loggedErrors;
    LookupEngine engine{{.bundled = bundled,
                         .catalog = catalog,
                         .translator = translator,
                         .logError = [this](const QString& content) {
                             loggedErrors.append(content);
                         }}};

    LookupOutcome lookUp(const QString& text, CancellationToken token = {}) {
        return QCoro::waitFor(engine.lookup(text, token));
    }

    void addSystemDictionary(const QString& identifier, bool stubExempt = false) {
        catalog.active->append({.identifier = identifier,
                                .name = identifier + u" 全名"_s,
                                .tabName = identifier,
                                .stubExempt = stubExempt});
        catalog.order.append(identifier);
    }
};

LookupResult resultOf(const LookupOutcome& outcome) {
    EXPECT_TRUE(std::holds_alternative<LookupResult>(outcome));
    const auto* result = std::get_if<LookupResult>(&outcome);
    return result ? *result : LookupResult{};
}

QString errorTextOf(const LookupOutcome& outcome) {
    const auto* error = std::get_if<LookupError>(&outcome);
    return error ? error->localizedDescription() : u"<no error>"_s;
}

} // namespace

TEST_F(LookupEngineTest, WordIsAnsweredByTheFirstRealDictionaryElseByAStub) {
    const LookupResult hello = resultOf(lookUp(u"  hello\n"_s));
    EXPECT_EQ(hello.term, u"hello"_s);
    EXPECT_EQ(hello.payload, LookupResult::Payload::dictionary);
    EXPECT_EQ(hello.source.id, u"bundled"_s);

    // Only a cross-reference: still shown when nothing better exists.
    EXPECT_EQ(resultOf(lookUp(u"colour"_s)).source.id, u"bundled"_s);
    EXPECT_TRUE(translator.asked.isEmpty());

    addSystemDictionary(u"stardict:oxford-zh"_s);
    catalog.definitions.insert(u"stardict:oxford-zh/colour"_s, u"colour|颜色;色彩"_s);
    const LookupResult colour = resultOf(lookUp(u"colour"_s));
    EXPECT_EQ(colour.source.id, u"stardict:oxford-zh"_s);
    EXPECT_EQ(colour.source.name, u"stardict:oxford-zh 全名"_s);
    const QList<LookupResult::Source> all = engine.wordSources(u"colour"_s);
    ASSERT_EQ(all.size(), 2);
    EXPECT_EQ(all[0].id, u"stardict:oxford-zh"_s);
    EXPECT_EQ(all[1].id, u"bundled"_s);

    // Entries of the Chinese-to-English direction do not answer an English word.
    catalog.definitions.insert(u"stardict:oxford-zh/bank"_s,
                               u"银行|bank\n123|no\nbank|银行;河岸"_s);
    const LookupResult bank = resultOf(lookUp(u"bank"_s));
    ASSERT_EQ(bank.source.entries.size(), 1);
    EXPECT_EQ(bank.source.entries[0].headword, u"bank"_s);
}

TEST_F(LookupEngineTest, StubVerdictOfASystemDictionaryDependsOnItsLanguage) {
    // A monolingual dictionary's English-only entry is a real answer; a bilingual one's
    // English-only entry only points elsewhere, unless the dictionary is exempt.
    catalog.order = {};
    addSystemDictionary(u"dictd:bilingual-stub"_s);
    addSystemDictionary(u"dictd:english-only"_s);
    addSystemDictionary(u"dictd:exempt"_s, /*stubExempt=*/true);
    catalog.bilingual = {u"dictd:bilingual-stub"_s, u"dictd:exempt"_s};
    catalog.definitions.insert(u"dictd:bilingual-stub/hue"_s, u"hue|see colour"_s);
    catalog.definitions.insert(u"dictd:english-only/hue"_s, u"hue|a shade of colour"_s);
    catalog.definitions.insert(u"dictd:exempt/tint"_s, u"tint|see colour"_s);

    EXPECT_EQ(resultOf(lookUp(u"hue"_s)).source.id, u"dictd:english-only"_s);
    EXPECT_FALSE(engine.isCrossReferenceStub(engine.wordSources(u"tint"_s).value(0)));
}

TEST_F(LookupEngineTest, WholeSystemAnswerStandsInOnceWithoutPerDictionaryAccess) {
    catalog.active.reset();
    catalog.order = {u"com.example.a"_s, u"bundled"_s, u"com.example.b"_s};
    catalog.wholeSystem.insert(u"river"_s, u"river|河;江"_s);
    const QList<LookupResult::Source> all = engine.wordSources(u"river"_s);
    ASSERT_EQ(all.size(), 1);
    EXPECT_EQ(all[0].id, u"system"_s);
}

TEST_F(LookupEngineTest, TranslationCarriesAPhoneticOnlyForAWord) {
    catalog.wholeSystem.insert(u"good morning"_s, u"good morning||/ɡʊd/"_s);
    translator.answer = u"早上好"_s;
    const LookupResult sentence = resultOf(lookUp(u"good morning"_s));
    EXPECT_EQ(sentence.payload, LookupResult::Payload::translation);
    EXPECT_EQ(sentence.source.id, u"translation"_s);
    EXPECT_EQ(sentence.translation, u"早上好"_s);
    EXPECT_EQ(sentence.phonetic, std::nullopt);

    // The first English headword's phonetic, not one from the Chinese-to-English side.
    catalog.wholeSystem.insert(u"zyzzyva"_s, u"象鼻虫|weevil|/x/\nzyzzyva|象鼻虫|/ˈzɪzɪvə/"_s);
    translator.answer = u"象鼻虫"_s;
    const LookupResult word = resultOf(lookUp(u"zyzzyva"_s));
    EXPECT_EQ(word.translation, u"象鼻虫"_s);
    EXPECT_EQ(word.phonetic, u"/ˈzɪzɪvə/"_s);
}

TEST_F(LookupEngineTest, WordGivenBackUnchangedIsNotFound) {
    for (const QString& echoed : {u"Qwzx"_s, u"QWZX"_s, u"qwzx\n"_s}) {
        translator.answer = echoed;
        EXPECT_EQ(errorTextOf(lookUp(u"qwzx"_s)), u"词典和翻译里都没有「qwzx」。"_s)
            << echoed.toStdString();
    }
    EXPECT_TRUE(loggedErrors.isEmpty());
}

TEST_F(LookupEngineTest, FailedTranslationMessageDependsOnAssetState) {
    EXPECT_EQ(errorTextOf(lookUp(u"hello world"_s)), u"未能翻译，请再试一次。"_s);
    EXPECT_EQ(loggedErrors, QStringList{u"翻译失败：翻译服务不可用"_s});

    for (auto status :
         {TranslationAssetStatus::supportedNotDownloaded, TranslationAssetStatus::unsupported}) {
        translator.status = status;
        EXPECT_EQ(errorTextOf(lookUp(u"hello world"_s)),
                  u"整句翻译需要本地翻译模型，可在「设置 › 词典与翻译」下载。"_s);
    }
}

TEST_F(LookupEngineTest, AGlossIsShownAsAGlossAndNothingGlossedIsNoAnswer) {
    translator.status = TranslationAssetStatus::unsupported;
    const Gloss gloss{
        {{.text = u"gave up"_s, .headword = u"give up"_s, .senses = {u"放弃"_s}, .isPhrase = true},
         {.text = u" 42"_s}}};
    translator.answer = gloss;
    const LookupResult glossed = resultOf(lookUp(u" gave up 42 "_s));
    EXPECT_TRUE(glossed.isGloss());
    EXPECT_EQ(glossed.term, u"gave up 42"_s);
    EXPECT_EQ(glossed.source, LookupResult::glossSource());
    EXPECT_EQ(glossed.translation, u"give up 放弃"_s);
    EXPECT_EQ(glossed.glossPieces, gloss.pieces);
    EXPECT_EQ(glossed.copyAllText(), u"give up 放弃"_s);

    // What the database does not know word by word: a word is not found, a sentence still
    // needs a translator.
    translator.answer = Gloss{{{.text = u"qwzx"_s}}};
    EXPECT_EQ(errorTextOf(lookUp(u"qwzx"_s)), u"词典和翻译里都没有「qwzx」。"_s);
    EXPECT_EQ(errorTextOf(lookUp(u"qwzx vlor"_s)),
              u"整句翻译需要本地翻译模型，可在「设置 › 词典与翻译」下载。"_s);
    EXPECT_EQ(loggedErrors, QStringList{u"翻译失败：没有认得的词"_s});
}
