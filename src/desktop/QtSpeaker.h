#pragma once

#include "dictionary/Speaker.h"

#include <QLocale>
#include <memory>

class QTextToSpeech;

// Speech through Qt's text-to-speech engines. Main thread only.
class QtSpeaker final : public Speaker {
public:
    // The first of `preferredEngines` that is installed and starts; else Qt's default engine.
    explicit QtSpeaker(const QStringList& preferredEngines);
    ~QtSpeaker() override;

    QString engineName() const;
    double rate() const;
    QLocale voiceLocale() const;

    QStringList voiceLocales() const override;
    void useVoice(qsizetype index) override;
    void setRate(double rate) override;
    bool isSpeaking() const override;
    void stop() override;
    void say(const QString& text) override;

private:
    std::unique_ptr<QTextToSpeech> m_engine;
};
