#pragma once

#include <QPointF>
#include <functional>
#include <limits>

// The keyboard and pointer state that hover lookup samples 25 times a second while it runs.
// Each sample must be cheap: at most one round trip to the window system.
class PointerSampler {
public:
    // Modifier bits of a sample: the four device-independent modifiers, the same values on
    // every OS. On X11: Shift, Control, Mod1 (Alt) as option and Mod4 (Super) as command;
    // Lock and NumLock are never reported.
    static constexpr quint32 shift = 0x20000;
    static constexpr quint32 control = 0x40000;
    static constexpr quint32 option = 0x80000;
    static constexpr quint32 command = 0x100000;
    static constexpr quint32 modifierMask = 0x1E0000;

    struct State {
        quint32 flags = 0;    // modifier bits above, nothing else
        QPointF location;     // global screen coordinates
        int mouseButtons = 0; // one bit per button held (0 = none)
        // Seconds since a person last pressed a key anywhere in the session; infinite when
        // no press has been seen since `start`. Keys the program synthesises do not count.
        double keyDownAgo = std::numeric_limits<double>::infinity();
    };

    virtual ~PointerSampler() = default;

    // Starts following key presses; false when the window system offers no way to (the
    // reason is in the diagnostic log). Samples are still taken then, with no key press seen.
    virtual bool start() = 0;
    virtual void stop() = 0;
    virtual State sample() = 0;
    // Asks to be told, on the main thread, whenever a modifier key goes down (from any device,
    // the program's own included), so that sampling can rest while no modifier is held.
    // False when this sampler cannot tell: then sampling never rests.
    virtual bool notifyModifierPresses(std::function<void()> handler) {
        (void)handler;
        return false;
    }
    // The point lies in the strip above the desktop's work area on its screen: the menu bar,
    // a top panel. No dwell is reported there.
    virtual bool inMenuBar(QPointF point) const = 0;
};
