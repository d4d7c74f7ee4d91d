#include "dictionary/DictionaryLookup.h"

#include "dictionary/WebsterDefinitionParser.h"
#include "harness/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

// One line per entry: "headword#homograph /phonetic/ | part of speech or (label): sense;
// sense {subsense, subsense} | …", or "… ⟨raw fallback⟩".
QString render(const QList<DictionaryEntry>& entries) {
    QStringList lines;
    for (const DictionaryEntry& entry : entries) {
        QString line = entry.headword;
        if (entry.homographIndex)
            line += u'#' + QString::number(*entry.homographIndex);
        if (entry.phonetic)
            line += u' ' + *entry.phonetic;
        for (const DictionaryEntry::Section& section : entry.sections) {
            QStringList senses;
            for (qsizetype i = 0; i < section.senses.size(); ++i)
                senses.append(section.senses[i] +
                              (section.subsenses.value(i).isEmpty()
                                   ? QString()
                                   : u" {"_s + section.subsenses[i].join(u", "_s) + u'}'));
            line += u" | "_s +
                    (section.label ? u'(' + *section.label + u')'
                                   : section.partOfSpeech.value_or(u"—"_s)) +
                    u": "_s + senses.join(u"; "_s);
        }
        if (entry.rawFallback)
            line += u" ⟨"_s + *entry.rawFallback + u'⟩';
        lines.append(line);
    }
    return lines.join(u'\n');
}

// A definition text, the headword to use when it names none, and the entries read from it.
struct LayoutCase {
    const char* layout;
    QString text;
    QString fallback;
    QString expected;
};

} // namespace

TEST(DictionaryLookupTest, EnglishChineseLayouts) {
    const LayoutCase cases[] = {
        {"transcription with a star, one line per part of speech",
         u"*[ˈwɔ:tə]\nn. 水；水域\nvt. 给…浇水, 灌溉"_s, u"water"_s,
         u"water /ˈwɔːtə/ | 名词: 水; 水域 | 及物动词: 给…浇水; 灌溉"_s},
        {"slashed transcription, numbered senses with lettered and indented sub-senses",
         u"/ˈwɔːtə/\n1. n. 水\n   a) 饮用水\n   b) 水域\n2. vt. 浇水\n   〈美〉给…浇水"_s,
         u"water"_s,
         u"water /ˈwɔːtə/ | 名词: 水 {饮用水, 水域} | 及物动词: 浇水 {〈美〉给…浇水}"_s},
        {"subject labels in both bracket styles, a heading with a colon, combined parts of speech",
         u"vt. & vi. 流动\n【医】 水剂\n[计] 数据流\n相关词组:\n  water down\n  in deep water"_s,
         u"flow"_s,
         u"flow | 及物动词、不及物动词: 流动 | (医学): 水剂 | (计算机): 数据流 | (相关词组): "
         u"water down; in deep water"_s},
        {"an abbreviation that is no part of speech, or a bracket that is no subject, stays text",
         u"e.g. 例如\nVt. 某义\n[U] 不可数义"_s, u"eg"_s,
         u"eg | —: e.g. 例如; Vt. 某义; [U] 不可数义"_s},
        {"headword lines: transcription beside or below, several entries, Chinese-to-English",
         u"water [ˈwɔːtə]\nn. 水\n\nWater\n/ˈwɔːtə/\nn. 沃特（姓氏）\n\n水\nshuǐ\nwater"_s,
         u"water"_s,
         u"water#1 /ˈwɔːtə/ | 名词: 水\nWater#2 /ˈwɔːtə/ | 名词: 沃特（姓氏）\n水 shuǐ | —: water"_s},
        {"a headword line only when it names the word or precedes a transcription or senses",
         u"colour\n〈英〉= color\n\nsee also\nhue"_s, u"Colour"_s,
         u"colour | —: 〈英〉= color; see also; hue"_s},
        {"superscript homograph numbers are the dictionary's own",
         u"bank¹\nn. 银行\n\nbank²\nn. 河岸"_s, u"bank"_s,
         u"bank#1 | 名词: 银行\nbank#2 | 名词: 河岸"_s},
        {"CR LF, tabs and a shared indentation change nothing",
         u"  *[ˈwɔ:tə]\r\n  n. 水\r\n  \t\r\n"_s, u"water"_s, u"water /ˈwɔːtə/ | 名词: 水"_s},
        {"a text with no senses is shown as it stands", u"*[ˈwɔ:tə]"_s, u"water"_s,
         u"water ⟨*[ˈwɔ:tə]⟩"_s},
        {"nothing at all", u" \n\t\n"_s, u"water"_s, u""_s},
    };
    for (const auto& c : cases)
        EXPECT_EQ(render(DictionaryLookup::parse(c.text, c.fallback)), c.expected) << c.layout;

    EXPECT_TRUE(DictionaryLookup::containsHanCharacters(u"〈英〉= color"_s));
    EXPECT_TRUE(DictionaryLookup::containsHanCharacters(u"x\u3400"_s));
    EXPECT_FALSE(DictionaryLookup::containsHanCharacters(u"かな 한글 【】 ˈwɔːtə"_s));
}

TEST(DictionaryLookupTest, EnglishLayoutsAsDictdServesThem) {
    const QString wnWater = u"water\n"
                            "    n 1: binary compound that occurs at room temperature as a clear\n"
                            "         liquid [syn: {water}, {H2O}]\n"
                            "    2: the part of the earth's surface covered with water; \"they\n"
                            "       invaded our territorial waters\" [syn: {body\n"
                            "       of water}, {water}]\n"
                            "    v 1: supply with water; \"Water the fields\" [syn: {water},\n"
                            "         {irrigate}] [ant: {dry}]\n"_s;
    const QString wnParsed = u"water | 名词: binary compound that occurs at room temperature as "
                             u"a clear liquid; the part of the earth's surface covered with "
                             u"water | 动词: supply with water"_s;
    const LayoutCase cases[] = {
        {"gcide: etymology, quotations, notes and phrases left out; homographs numbered",
         u"Water \\Wa\"ter\\ (w[add]\"t[~e]r), n. [AS. w[ae]ter; akin to OS.\n"
         "   watar. Cf. {Hydra}.]\n"
         "   1. The fluid which descends from the clouds in rain. \"We will drink\n"
         "      water.\" --Shak.\n"
         "      [1913 Webster]\n\n"
         "   Note: Pure water consists of hydrogen and oxygen, {H2O}.\n\n"
         "   2. A body of water, standing or flowing.\n\n"
         "            Remembering he had passed over a small water a poor\n"
         "            scholar. --Fuller.\n\n"
         "   {To make water}.\n"
         "      (a) To pass urine. --Swift.\n\n"
         "Water \\Wa\"ter\\, v. t. [imp. & p. p. {Watered}; p. pr. & vb. n.\n"
         "   {Watering}.] [AS. w[ae]terian.]\n"
         "   1. To wet or supply with water; to irrigate.\n"_s,
         u"water"_s,
         u"Water#1 | 名词: The fluid which descends from the clouds in rain.; A body of water, "
         u"standing or flowing.\nWater#2 | 及物动词: To wet or supply with water; to irrigate."_s},
        {"gcide: the spelling asked for among several, sub-senses, field labels, escapes",
         u"Banc \\Banc\\, Bancus \\Ban\"cus\\, Bank \\Bank\\, n.\n"
         "   A bench; a tribunal or court.\n\n"
         "Bank \\Bank\\ (b[a^][ng]k), n.\n"
         "   5. (Mining)\n"
         "      (a) The face of the coal.\n"
         "      (b) A deposit of ore or coal, worked by excavations above\n"
         "          water level.\n"
         "   6. (A[\"e]ronautics) The inclination of an a[\"e]roplane; a bank of 45[deg].\n\n"
         "Aeroplane \\A\"[\"e]r*o*plane`\\, n.\n"
         "   [a[\"e]ro- + plane.] (A[\"e]ronautics)\n"
         "   1. A light rigid plane.\n"
         "   2. Hence: a flying machine.\n"_s,
         u"bank"_s,
         u"Bank#1 | 名词: A bench; a tribunal or court.\n"
         u"Bank#2 | 名词: (Mining) {The face of the coal., A deposit of ore or coal, worked by "
         u"excavations above water level.}; (Aëronautics) The inclination of an aëroplane; a "
         u"bank of 45°.\n"
         u"Aeroplane | (Aëronautics): A light rigid plane.; Hence: a flying machine."_s},
        {"gcide: a pointer to another headword",
         u"Colour \\Col\"our\\, n.\n   See {Color}. [Brit.]\n   [1913 Webster]"_s, u"colour"_s,
         u"Colour | 名词: See Color. [Brit.]"_s},
        {"wn: senses numbered per part of speech, examples and synonym lists left out", wnWater,
         u"water"_s, wnParsed},
        {"a dictd client's banner and indentation",
         u"From WordNet (r) 3.0 (2006) [wn]:\n\n  "_s +
             QString(wnWater).replace(u"\n"_s, u"\n  "_s),
         u"water"_s, wnParsed},
    };
    for (const auto& c : cases)
        EXPECT_EQ(render(DictionaryLookup::parse(c.text, c.fallback)), c.expected) << c.layout;
}

TEST(DictionaryLookupTest, WebsterEscapesBecomeUnicode) {
    const std::pair<QString, QString> cases[] = {
        {u"w[ae]ter [AE]on a[\"e]ro r[u^]n r[=o]de caf['e] [,c]a m[~n] 39[deg] [root]137"_s,
         u"wæter Æon aëro rŭn rōde café ça mñ 39° √137"_s},
        {u"[Obs.] [1913 Webster] [a] [x\"] [unclosed"_s,
         u"[Obs.] [1913 Webster] [a] [x\"] [unclosed"_s},
    };
    for (const auto& [markup, plain] : cases)
        EXPECT_EQ(WebsterDefinitionParser::decodeMarkup(markup), plain);
}
