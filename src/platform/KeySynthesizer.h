#pragma once

// Simulated key presses into the application in front.
class KeySynthesizer {
public:
    virtual ~KeySynthesizer() = default;

    // Whether any of Shift, Control, Option/Alt or Command/Super is held now.
    virtual bool modifiersHeld() const = 0;
    // Presses and releases the system's copy combination (⌘C, Ctrl+C); false when it could not
    // be sent.
    virtual bool sendCopy() = 0;
};
