// The gloss against the full word database built from ECDICT, and through the command line
// with no model server to answer.

#include "dictionary/BundledDictionary.h"
#include "dictionary/PhraseBook.h"
#include "harness/FakeModelServer.h"
#include "harness/QuilletProcess.h"
#include "lookup/Glosser.h"
#include "settings/AppPaths.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class GlossIntegrationTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!QFileInfo(AppPaths::wordDatabase()).isFile())
            GTEST_SKIP() << "the word database was not built";
    }
    static const Glosser& glosser() {
        static const BundledDictionary words(AppPaths::wordDatabase());
        static const PhraseBook phrases(AppPaths::wordDatabase());
        static const Glosser shared(words, phrases);
        return shared;
    }
    // The headwords of the phrases found, in order, joined by " | ".
    static QString phrasesIn(const QString& text) {
        QStringList found;
        for (const GlossPiece& piece : glosser().gloss(text).pieces) {
            if (piece.isPhrase)
                found.append(piece.headword);
        }
        return found.join(u" | "_s);
    }
};

} // namespace

TEST_F(GlossIntegrationTest, FindsCommonPhrasesAsWrittenAndInflected) {
    const std::pair<QString, QString> cases[] = {
        {u"give up"_s, u"give up"_s},
        {u"look forward to"_s, u"look forward to"_s},
        {u"ice creams"_s, u"ice cream"_s},
        {u"as well as"_s, u"as well as"_s},
        {u"a lot of"_s, u"a lot of"_s},
        {u"kicked the bucket"_s, u"kick the bucket"_s},
        {u"by the way"_s, u"by the way"_s},
        {u"carry out"_s, u"carry out"_s},
        {u"got rid of"_s, u"get rid of"_s},
        {u"for example"_s, u"for example"_s},
        {u"in order to"_s, u"in order to"_s},
        {u"as soon as"_s, u"as soon as"_s},
        {u"figure out"_s, u"figure out"_s},
        {u"of course"_s, u"of course"_s},
        {u"take care of"_s, u"take care of"_s},
        {u"pay attention to"_s, u"pay attention to"_s},
        {u"Paid attention to"_s, u"pay attention to"_s},
        {u"came across"_s, u"come across"_s},
        {u"instead of"_s, u"instead of"_s},
        {u"at the same time"_s, u"at the same time"_s},
        {u"as a result"_s, u"as a result"_s},
        {u"washing machines"_s, u"washing machine"_s},
    };
    for (const auto& [text, phrase] : cases)
        EXPECT_EQ(phrasesIn(text), phrase) << text.toStdString();
}

TEST_F(GlossIntegrationTest, GlossesRealSentencesPhraseByPhrase) {
    const std::pair<QString, QString> cases[] = {
        {u"I gave up smoking last year."_s, u"give up | last year"_s},
        {u"We are looking forward to seeing you."_s, u"looking forward to | see you"_s},
        {u"In spite of the rain, they went out."_s, u"in spite of | went out"_s},
        {u"They ran out of money."_s, u"run out of"_s},
        {u"Please turn off the lights before you leave."_s, u"turn off"_s},
        {u"From my point of view, it is a good idea."_s, u"point of view"_s},
        {u"The plane took off on time."_s, u"take off | on time"_s},
        {u"He made up his mind to study abroad."_s, u"make up one's mind"_s},
        {u"On the other hand, the price is high."_s, u"on the other hand"_s},
        {u"At least try it once."_s, u"at least"_s},
        {u"We set up a new company in New York."_s, u"set up | new york"_s},
        {u"The car broke down on the highway."_s, u"broke down"_s},
        {u"She took care of her little brother."_s, u"take care of | little brother"_s},
        {u"He came up with a brilliant idea."_s, u"come up with"_s},
        {u"According to the report, sales rose."_s, u"according to"_s},
    };
    for (const auto& [text, phrases] : cases)
        EXPECT_EQ(phrasesIn(text), phrases) << text.toStdString();

    // Every word of an ordinary sentence is known, each with Chinese.
    const Gloss gloss = glosser().gloss(u"The weather was cold, so we stayed at home."_s);
    for (const GlossPiece& piece : gloss.pieces) {
        const QString plain = piece.text.trimmed();
        if (!piece.isGlossed()) {
            EXPECT_TRUE(plain.isEmpty() || plain == u","_s || plain == u"."_s)
                << piece.text.toStdString();
        }
    }
}

TEST_F(GlossIntegrationTest, CommandLineAnswersASentenceWithTheGlossWhenNoServerRuns) {
    const QTemporaryDir home;
    const QProcessEnvironment environment = QuilletProcess::environmentWithHome(home.path());
    ASSERT_EQ(QuilletProcess::run({u"settings"_s, u"set"_s, u"translation.endpoint"_s,
                                   FakeModelServer::closedEndpoint()},
                                  environment)
                  .exitCode,
              0);

    const QuilletProcess::Run plain =
        QuilletProcess::run({u"lookup"_s, u"I gave up smoking."_s}, environment);
    EXPECT_EQ(plain.exitCode, 0) << plain.err.toStdString();
    EXPECT_EQ(plain.out, u"I gave up smoking.\n逐词释义\nI 我；give up 放弃；smoking 抽烟"_s);

    const QuilletProcess::Run json =
        QuilletProcess::run({u"lookup"_s, u"--json"_s, u"\"water\""_s}, environment);
    const QJsonObject answer = QJsonDocument::fromJson(json.out.toUtf8()).object();
    EXPECT_EQ(answer[u"payload"_s].toString(), u"gloss"_s);
    EXPECT_EQ(answer[u"source"_s][u"name"_s].toString(), u"逐词释义"_s);
    const QJsonArray pieces = answer[u"gloss"_s].toArray();
    ASSERT_EQ(pieces.size(), 3) << json.out.toStdString();
    EXPECT_EQ(pieces[1][u"headword"_s].toString(), u"water"_s);
    EXPECT_EQ(pieces[1][u"senses"_s][0].toString(), u"水"_s);
}
