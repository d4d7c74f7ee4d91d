#pragma once

#include "platform/KeySynthesizer.h"

#include <functional>

// Simulated key presses into a scripted application: a copy does what `onCopy` says (put the
// selection on the clipboard, or nothing, as an application that ignores it).
class ScriptedKeys final : public KeySynthesizer {
public:
    std::function<void()> onCopy;
    // How many more looks at the modifiers still find one held (the user lets go after that).
    int modifierLooksHeld = 0;

    bool modifiersHeld() const override {
        ++m_modifierLooks;
        return m_modifierLooks <= modifierLooksHeld;
    }
    bool sendCopy() override {
        ++m_copies;
        if (onCopy)
            onCopy();
        return true;
    }

    int copies() const { return m_copies; }
    int modifierLooks() const { return m_modifierLooks; }

private:
    mutable int m_modifierLooks = 0;
    int m_copies = 0;
};
