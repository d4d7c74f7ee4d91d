#pragma once

#include <QString>
#include <QStringList>

// A speech synthesiser as the pronouncer uses it.
class Speaker {
public:
    virtual ~Speaker() = default;

    // Locale names of the voices on offer ("en_US"), in the engine's order.
    virtual QStringList voiceLocales() const = 0;
    virtual void useVoice(qsizetype index) = 0;
    // QTextToSpeech's scale: −1 slowest, 0 the engine's normal speed, 1 fastest.
    virtual void setRate(double rate) = 0;
    virtual bool isSpeaking() const = 0;
    virtual void stop() = 0;
    virtual void say(const QString& text) = 0;
};
