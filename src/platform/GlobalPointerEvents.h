#pragma once

#include <QPointF>
#include <functional>

// Left-button gestures anywhere on the desktop, as the selection watcher needs them: where
// the button went down, where the pointer is while it is held, and the release with its click
// count. Presses the program synthesises itself are never reported. No grab: other programs
// see every event as before.
class GlobalPointerEvents {
public:
    struct Event {
        enum class Kind { press, drag, release };
        Kind kind = Kind::press;
        QPointF position; // screen coordinates
        // Presses in a row at about the same place, each within the desktop's double-click
        // interval of the one before (1 for a single click). Set on press and release.
        int clickCount = 1;
        // The window system's time of the event, in milliseconds on its own clock (X server
        // time on X11): comparable with the other times this system's adapters report.
        quint64 serverTime = 0;
    };
    using Handler = std::function<void(const Event&)>;

    virtual ~GlobalPointerEvents() = default;

    // Starts reporting on the main thread; false when the window system offers no such events
    // (the reason is in the diagnostic log). Starting again replaces the handler.
    virtual bool start(Handler handler) = 0;
    virtual void stop() = 0;
};
