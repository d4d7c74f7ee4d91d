#pragma once

// Simulated key presses into the application in front.
class KeySynthesizer {
public:
    virtual ~KeySynthesizer() = default;

    // Whether any of Shift, Control, Option/Alt or Command/Super is held now. On X11 any key
    // held counts: while a hot key's own key is down its grab takes every key, the copy too.
    virtual bool modifiersHeld() const = 0;
    // Presses and releases the system's copy combination (⌘C, Ctrl+C); false when it could not
    // be sent.
    virtual bool sendCopy() = 0;
};
