#include "dictionary/Pronouncer.h"

#include "base/UnicodeText.h"
#include "filter/TextFilter.h"

using namespace Qt::StringLiterals;

Pronouncer::Pronouncer(std::unique_ptr<Speaker> speaker) : m_speaker(std::move(speaker)) {}

double Pronouncer::wordRate() {
    // Below 0, speech-dispatcher's flite module and Qt's flite engine stretch every sound to
    // 1 − 2·rate times its length, so rate −0.5 is half speed. A speed of 0.85 is a stretch of
    // 1/0.85: rate = (1 − 1/0.85) / 2 ≈ −0.088. Other engines bend the scale a little, but 0
    // stays the normal speed and the direction holds.
    constexpr double speed = 0.85;
    return (1.0 - 1.0 / speed) / 2.0;
}

void Pronouncer::chooseVoice() {
    if (m_voiceChosen)
        return;
    m_voiceChosen = true;
    const QStringList locales = m_speaker->voiceLocales();
    for (const QString& wanted : {u"en_US"_s, u"en_GB"_s}) {
        if (const qsizetype index = locales.indexOf(wanted); index >= 0) {
            m_speaker->useVoice(index);
            return;
        }
    }
    // No English voice: the engine's default speaks.
}

void Pronouncer::speak(const QString& text) {
    const QString trimmed = UnicodeText::trimmed(text);
    if (trimmed.isEmpty())
        return;
    if (m_speaker->isSpeaking())
        m_speaker->stop();
    chooseVoice();
    m_speaker->setRate(TextFilter::kind(trimmed) == QueryKind::word ? wordRate() : 0.0);
    m_speaker->say(trimmed);
}
