#pragma once

#include <QString>
#include <functional>

// Why capture is paused. Several may hold at once; capture resumes when none does.
enum class PauseReason { screenLock, sleep, sessionSwitch };

// This OS's notices of the screen locking, the machine sleeping and another user taking the
// seat. A notice may repeat (two services announce one lock); the monitor merges them.
class SystemActivityEvents {
public:
    struct Listener {
        // A condition began (`begins`) or ended. Main thread.
        std::function<void(PauseReason reason, bool begins)> changed;
        // A service these notices come from is not there; the adapter goes on with the others.
        // One line per missing service, in the event log's words.
        std::function<void(const QString& line)> unavailable;
    };

    virtual ~SystemActivityEvents() = default;

    // Starts listening. A condition that already holds when the adapter learns the state is
    // announced as beginning.
    virtual void start(Listener listener) = 0;
    // Stops listening; nothing reaches the listener afterwards.
    virtual void stop() = 0;
};
