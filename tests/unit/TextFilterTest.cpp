#include "core/TextFilter.h"

#include <gtest/gtest.h>
#include <initializer_list>

using namespace Qt::StringLiterals;

namespace {

struct Case {
    QString text;
    bool expected;
};

void expectEach(bool (*predicate)(QStringView), std::initializer_list<Case> cases) {
    for (const Case& c : cases)
        EXPECT_EQ(predicate(c.text), c.expected) << "text: " << c.text.toStdString();
}

QString words(int count) {
    QString text;
    for (int i = 0; i < count; ++i)
        text += u"word "_s;
    return text;
}

// Every key prefix the filter knows, in its order.
const QString kSecretPrefixes[] = {
    u"sk-"_s,   u"sk_live_"_s, u"sk_test_"_s, u"pk_live_"_s,   u"rk_live_"_s,
    u"ghp_"_s,  u"gho_"_s,     u"ghs_"_s,     u"ghu_"_s,       u"github_pat_"_s,
    u"xoxb-"_s, u"xoxp-"_s,    u"xoxa-"_s,    u"xapp-"_s,      u"AKIA"_s,
    u"ASIA"_s,  u"AIza"_s,     u"eyJ"_s,      u"-----BEGIN"_s,
};
const QString kKeyBody = u"R4nd0mK3yMaterial7xQ9zLw2Vb8Nc5Ht1Jp"_s; // 36 characters

} // namespace

TEST(TextFilter, urlsPathsAddressesAndDomains) {
    expectEach(TextFilter::looksLikeURLOrPath,
               {{u"https://example.com/a?b=1"_s, true},
                {u"  git+ssh://host/repo.git \n"_s, false}, // a line break: not one address
                {u"  git+ssh://host/repo.git  "_s, true},
                {u"http://example.com/two words"_s, true}, // a scheme wins over blanks
                {u"jane.doe@example.com"_s, true},
                {u"jane@localhost"_s, false},
                {u"~/Documents"_s, true},
                {u"c:\\Users\\jane"_s, true},
                {u"www.example"_s, true},
                {u"quillet.io"_s, true},
                {u"docs.example.dev/guide/intro"_s, true},
                {u"example.comx"_s, false},
                {u"see example.com for details"_s, false}});
}

TEST(TextFilter, sharedLinksAreShortMessagesAroundALink) {
    const QString link = u"https://youtu.be/dQw4w9WgXcQ?t=42"_s;
    expectEach(TextFilter::looksLikeSharedLink,
               {{link, true},
                {u"Five words before the link "_s + link, true},
                {u"【好物推荐】复制这段 https://m.tb.cn/h.5Xq2 打开淘宝"_s, true},
                {words(20) + link, true},
                {words(21) + link, false},
                // Quoted inside a sentence rather than shared.
                {u"The report at "_s + link + u" is worth reading"_s, false},
                {u"Read it: "_s + link + u" ok"_s, true}});
}

TEST(TextFilter, englishNeedsThreeAsciiLettersPerIdeograph) {
    expectEach(TextFilter::looksLikeEnglish,
               {{u"The word 世界 means world"_s, true},
                {u"abc中"_s, true},
                {u"ab中"_s, false},
                {u"学习English单词"_s, false},
                {u"ab\U00020000"_s, false},
                {u"ab〇"_s, false},
                // A letter that shares its character with a neighbour is no ASCII letter.
                {u"ab\u0301c中"_s, false},    // combining accent
                {u"ab\u200Dc中"_s, false},    // zero-width joiner
                {u"ab\u0903c中"_s, false},    // spacing mark
                {u"\u0600abc中"_s, false},    // prepended number sign
                {u"abc中\U00016FE4"_s, true}, // one character, two ideographs
                {u"2024-05-01"_s, false}});
}

TEST(TextFilter, everyKnownKeyPrefixMakesASecret) {
    for (const QString& prefix : kSecretPrefixes) {
        const QString key = prefix + kKeyBody;
        EXPECT_TRUE(TextFilter::hasSecretPrefix(key)) << key.toStdString();
        EXPECT_TRUE(TextFilter::looksLikeSecret(key)) << key.toStdString();
        const QString withBlank = prefix + u"R4nd0mK3y Material7xQ9zLw2Vb8Nc5Ht1Jp"_s;
        EXPECT_FALSE(TextFilter::hasSecretPrefix(withBlank)) << withBlank.toStdString();
        EXPECT_FALSE(TextFilter::looksLikeSecret(withBlank)) << withBlank.toStdString();
    }
    EXPECT_FALSE(TextFilter::hasSecretPrefix(u"Sk-"_s + kKeyBody));
    EXPECT_FALSE(TextFilter::looksLikeSecret(u"sk-12345"_s)); // too short to be a key
}

TEST(TextFilter, secretsAreLongTokensMixingCharacterClasses) {
    expectEach(TextFilter::looksLikeSecret,
               {{u"aB3xK9pQz2L"_s, false}, // 11 characters
                {u"aB3xK9pQz2Lm"_s, true},
                {u"aB3xK9pQz2L\u0301"_s, false}, // 12 units, 11 characters
                {u"correct#horse9"_s, true},
                {u"deadbeefcafebabe0123456789abcdef"_s, true},
                {u"covid19vaccine"_s, false}, // two classes, short
                // Identifier-shaped tokens are code.
                {u"getUserName2"_s, false},
                {u"x86_64_linux_gnu"_s, false},
                {u"Mother-in-law's"_s, false},
                {u"Jean-Baptiste’s"_s, false},
                {u"base64EncodedString"_s, false},
                {u"Aa1! with blanks"_s, false}});
}

TEST(TextFilter, codeIdentifiersAreSeveralWordLikeParts) {
    expectEach(TextFilter::looksLikeCodeIdentifier,
               {
                   {u"getUserName"_s, true},
                   {u"user_id"_s, true},
                   {u"user.name"_s, true},
                   {u"std::vector"_s, true},
                   {u"HTTPServerFactory"_s, true},
                   {u"nai\u0308veBayes"_s, true}, // a combining mark stays inside its letter
                   {u"Hello"_s, false},
                   {u"user_id2"_s, false},
                   {u"iPhone"_s, false},
                   {u"ab_cd"_s, false},   // no part reads as a word
                   {u"rgb_hsv"_s, false}, // no vowels
               });
    EXPECT_EQ(TextFilter::identifierSegments(u"__getHTTPResponse.body"_s),
              QStringList({u"get"_s, u"HTTPResponse"_s, u"body"_s}));
}

TEST(TextFilter, wordsAndIdeographsAreCountedByCharacter) {
    const std::pair<QString, qsizetype> counts[] = {
        {u"I am a cat"_s, 2}, {u"nai\u0308ve idea"_s, 2}, {u"中文 words, don't"_s, 3}};
    for (const auto& [text, count] : counts)
        EXPECT_EQ(TextFilter::englishWordCount(text), count) << text.toStdString();

    for (const QString& ideograph : {u"中"_s, u"〇"_s, u"\U00020000"_s, u"中\u0301"_s})
        EXPECT_TRUE(TextFilter::isCJK(ideograph)) << ideograph.toStdString();
    for (const QString& other : {u"あ"_s, u"한"_s, u"。"_s})
        EXPECT_FALSE(TextFilter::isCJK(other)) << other.toStdString();
}

TEST(TextFilter, kindTellsWordsFromSentences) {
    for (const QString& word :
         {u"hello"_s, u"don’t"_s, u"well-being"_s, u"  naïve\n"_s, u"e\u0301cole"_s, u""_s})
        EXPECT_EQ(TextFilter::kind(word), QueryKind::word) << word.toStdString();
    for (const QString& sentence :
         {u"hello world"_s, u"3D"_s, u"e.g."_s, u"hello!"_s, u"new\u00A0york"_s})
        EXPECT_EQ(TextFilter::kind(sentence), QueryKind::sentence) << sentence.toStdString();
}
