#pragma once

#include <QtGlobal>
#include <optional>

// Recognises two quick taps of one modifier key, pressed alone. A press that lasts too long,
// is joined by another modifier, a typed key or a mouse button is not a tap.
class ModifierTapDetector {
public:
    static constexpr double tapSeconds = 0.22; // a tap is released within this
    static constexpr double pairSeconds = 0.4; // from the end of one tap to the next press

    struct Input {
        double now = 0;           // seconds on a steady clock
        bool keyAlone = false;    // the modifiers are exactly the watched key
        bool noModifiers = false; // no modifier at all
        bool mouseButtonDown = false;
        double keyDownAgo = 0; // seconds since a key was typed
    };

    // True when this input completes a double tap.
    bool step(const Input& input);
    void reset();
    bool isPressInProgress() const { return m_pressedAt.has_value(); }

private:
    std::optional<double> m_pressedAt;
    bool m_spoiled = false;
    std::optional<double> m_lastTapEndedAt;
};
