#pragma once

#include "dictionary/Speaker.h"

#include <QString>
#include <memory>

// Reads words and sentences aloud in an American (else British) English voice, single words
// a little slower. A new text cuts off the one still being spoken. Main thread only.
class Pronouncer {
public:
    // The program's pronouncer, on speech-dispatcher where it runs, else flite.
    static Pronouncer& shared();
    explicit Pronouncer(std::unique_ptr<Speaker> speaker);

    void speak(const QString& text);

    // 85 % of the normal speed, on the speaker's −1…1 scale.
    static double wordRate();

private:
    void chooseVoice();

    std::unique_ptr<Speaker> m_speaker;
    bool m_voiceChosen = false; // also when no English voice was found
};
