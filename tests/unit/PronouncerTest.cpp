#include "dictionary/Pronouncer.h"

#include "dictionary/QtSpeaker.h"
#include "harness/QtPrinters.h"

#include <QTextToSpeech>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

// A synthesiser that records what it was asked to do. Needed because no engine here can
// actually speak: without an audio device Qt's engines fail every utterance, so an utterance
// in progress cannot be produced for real.
class RecordingSpeaker final : public Speaker {
public:
    QStringList locales;
    bool speaking = false;
    QStringList calls;
    mutable int voiceListings = 0;

    QStringList voiceLocales() const override {
        ++voiceListings;
        return locales;
    }
    void useVoice(qsizetype index) override { calls.append(u"voice "_s + locales[index]); }
    void setRate(double rate) override { calls.append(u"rate "_s + QString::number(rate, 'f', 3)); }
    bool isSpeaking() const override { return speaking; }
    void stop() override { calls.append(u"stop"_s); }
    void say(const QString& text) override { calls.append(u"say "_s + text); }
};

struct Made {
    Pronouncer pronouncer;
    RecordingSpeaker& speaker;
};

Made make(QStringList locales) {
    auto speaker = std::make_unique<RecordingSpeaker>();
    speaker->locales = std::move(locales);
    RecordingSpeaker& kept = *speaker;
    return {Pronouncer(std::move(speaker)), kept};
}

const QString kWordRate = u"rate "_s + QString::number(Pronouncer::wordRate(), 'f', 3);
const QString kNormalRate = u"rate 0.000"_s;

} // namespace

TEST(PronouncerTest, WordsAreSlowerThanSentencesAndBlankTextIsIgnored) {
    const struct {
        QString text;
        QStringList calls;
    } cases[] = {
        {u"  water\n"_s, {kWordRate, u"say water"_s}},
        {u"don’t"_s, {kWordRate, u"say don’t"_s}},
        {u"well-being"_s, {kWordRate, u"say well-being"_s}},
        {u"hello world"_s, {kNormalRate, u"say hello world"_s}},
        {u"3D"_s, {kNormalRate, u"say 3D"_s}},
        {u""_s, {}},
        {u" \n\t\u2028"_s, {}},
    };
    for (const auto& c : cases) {
        Made made = make({});
        made.pronouncer.speak(c.text);
        EXPECT_EQ(made.speaker.calls, c.calls) << c.text.toStdString();
    }
    // 85 % of the normal speed where sounds stretch by 1 − 2·rate.
    EXPECT_NEAR(1.0 / (1.0 - 2.0 * Pronouncer::wordRate()), 0.85, 1e-9);
}

TEST(PronouncerTest, AmericanVoiceElseBritishLookedUpOnce) {
    const struct {
        QStringList offered;
        std::optional<QString> chosen;
    } cases[] = {
        {{u"fr_FR"_s, u"en_GB"_s, u"en_US"_s}, u"voice en_US"_s},
        {{u"en_GB"_s, u"de_DE"_s}, u"voice en_GB"_s},
        {{u"de_DE"_s}, std::nullopt},
        {{}, std::nullopt},
    };
    for (const auto& c : cases) {
        Made made = make(c.offered);
        made.pronouncer.speak(u"water"_s);
        made.pronouncer.speak(u"hello world"_s);
        const QStringList voices = made.speaker.calls.filter(u"voice "_s);
        EXPECT_EQ(voices, c.chosen ? QStringList{*c.chosen} : QStringList())
            << c.offered.join(u',').toStdString();
        // An absent voice is remembered too.
        EXPECT_EQ(made.speaker.voiceListings, 1) << c.offered.join(u',').toStdString();
    }
}

TEST(PronouncerTest, TheNextTextCutsOffTheOneStillSpoken) {
    Made made = make({u"en_US"_s});
    made.speaker.speaking = true;
    made.pronouncer.speak(u"hello world"_s);
    made.pronouncer.speak(u"   "_s); // nothing to say: the utterance goes on
    EXPECT_EQ(made.speaker.calls,
              (QStringList{u"stop"_s, u"voice en_US"_s, kNormalRate, u"say hello world"_s}));

    made.speaker.calls.clear();
    made.speaker.speaking = false;
    made.pronouncer.speak(u"water"_s);
    EXPECT_EQ(made.speaker.calls, (QStringList{kWordRate, u"say water"_s}));
}

// The real flite engine lists its voices and takes voice and rate without an audio device.
TEST(PronouncerTest, FliteTakesTheEnglishVoiceAndTheWordRate) {
    if (!QTextToSpeech::availableEngines().contains(u"flite"_s))
        GTEST_SKIP() << "the flite speech engine is not installed";

    auto speaker = std::make_unique<QtSpeaker>(QStringList{u"no-such-engine"_s, u"flite"_s});
    QtSpeaker& engine = *speaker;
    ASSERT_EQ(engine.engineName(), u"flite"_s);
    Pronouncer pronouncer(std::move(speaker));

    pronouncer.speak(u"water"_s);
    EXPECT_EQ(engine.voiceLocale().name(), u"en_US"_s);
    EXPECT_NEAR(engine.rate(), Pronouncer::wordRate(), 1e-6);
    pronouncer.speak(u"hello world"_s);
    EXPECT_EQ(engine.rate(), 0.0);
}

TEST(PronouncerTest, AnEngineThatCannotStartGivesWayToTheNext) {
    const QStringList installed = QTextToSpeech::availableEngines();
    if (!installed.contains(u"speechd"_s) || !installed.contains(u"flite"_s))
        GTEST_SKIP() << "needs both the speechd and the flite engine";
    const bool speechdStarts =
        QTextToSpeech(u"speechd"_s).errorReason() != QTextToSpeech::ErrorReason::Initialization;

    const QtSpeaker speaker({u"speechd"_s, u"flite"_s});
    EXPECT_EQ(speaker.engineName(), speechdStarts ? u"speechd"_s : u"flite"_s);
}
