#include "desktop/QtSpeaker.h"

#include <QTextToSpeech>

QtSpeaker::QtSpeaker(const QStringList& preferredEngines) {
    const QStringList installed = QTextToSpeech::availableEngines();
    for (const QString& name : preferredEngines) {
        if (!installed.contains(name))
            continue;
        auto engine = std::make_unique<QTextToSpeech>(name);
        // speechd is installed on most desktops even where its daemon cannot start; then the
        // next engine speaks instead of none.
        if (engine->state() == QTextToSpeech::Error &&
            engine->errorReason() == QTextToSpeech::ErrorReason::Initialization)
            continue;
        m_engine = std::move(engine);
        return;
    }
    m_engine = std::make_unique<QTextToSpeech>();
}

QtSpeaker::~QtSpeaker() = default;

QString QtSpeaker::engineName() const {
    return m_engine->engine();
}

double QtSpeaker::rate() const {
    return m_engine->rate();
}

QLocale QtSpeaker::voiceLocale() const {
    return m_engine->voice().locale();
}

QStringList QtSpeaker::voiceLocales() const {
    QStringList locales;
    for (const QVoice& voice : m_engine->availableVoices())
        locales.append(voice.locale().name());
    return locales;
}

void QtSpeaker::useVoice(qsizetype index) {
    const QList<QVoice> voices = m_engine->availableVoices();
    if (index >= 0 && index < voices.size())
        m_engine->setVoice(voices[index]);
}

void QtSpeaker::setRate(double rate) {
    m_engine->setRate(rate);
}

bool QtSpeaker::isSpeaking() const {
    const QTextToSpeech::State state = m_engine->state();
    return state == QTextToSpeech::Speaking || state == QTextToSpeech::Paused;
}

void QtSpeaker::stop() {
    m_engine->stop(QTextToSpeech::BoundaryHint::Immediate);
}

void QtSpeaker::say(const QString& text) {
    m_engine->say(text);
}
