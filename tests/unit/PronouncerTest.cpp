#include "dictionary/Pronouncer.h"

#include "desktop/QtSpeaker.h"
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

// A new text cuts off the one still spoken; blank text is ignored and lets it go on.
TEST(PronouncerTest, WordsAreSlowerThanSentencesAndANewTextCutsOffTheLast) {
    const struct {
        QString text;
        bool speaking;
        QStringList calls;
    } cases[] = {
        {u"  water\n"_s, false, {kWordRate, u"say water"_s}},
        {u"don’t"_s, false, {kWordRate, u"say don’t"_s}},
        {u"well-being"_s, true, {u"stop"_s, kWordRate, u"say well-being"_s}},
        {u"hello world"_s, true, {u"stop"_s, kNormalRate, u"say hello world"_s}},
        {u"3D"_s, false, {kNormalRate, u"say 3D"_s}},
        {u""_s, false, {}},
        {u" \n\t\u2028"_s, true, {}},
    };
    for (const auto& c : cases) {
        Made made = make({});
        made.speaker.speaking = c.speaking;
        made.pronouncer.speak(c.text);
        EXPECT_EQ(made.speaker.calls, c.calls) << c.text.toStdString();
    }
    // 85 % of the normal speed where sounds stretch by 1 − 2·rate.
    EXPECT_NEAR(1.0 / (1.0 - 2.0 * Pronouncer::wordRate()), 0.85, 1e-9);
}

// Chosen once: an absent voice is remembered too.
TEST(PronouncerTest, AmericanVoiceElseBritishLookedUpOnce) {
    const std::pair<QStringList, QStringList> cases[] = {
        {{u"fr_FR"_s, u"en_GB"_s, u"en_US"_s}, {u"voice en_US"_s}},
        {{u"en_GB"_s, u"de_DE"_s}, {u"voice en_GB"_s}},
        {{u"de_DE"_s}, {}}};
    for (const auto& [offered, chosen] : cases) {
        Made made = make(offered);
        made.pronouncer.speak(u"water"_s);
        made.pronouncer.speak(u"hello world"_s);
        EXPECT_EQ(made.speaker.calls.filter(u"voice "_s), chosen)
            << offered.join(u',').toStdString();
        EXPECT_EQ(made.speaker.voiceListings, 1) << offered.join(u',').toStdString();
    }
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
