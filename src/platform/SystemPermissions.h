#pragma once

#include <functional>

// The grants only the user can give: reading other applications (accessibility) and looking
// at the screen (screen recording). On Linux the first is the desktop's accessibility bus
// being on; the second is always granted on X11.
class SystemPermissions {
public:
    enum class Kind { accessibility, screenRecording };

    virtual ~SystemPermissions() = default;

    // The last known answer; never prompts and never blocks.
    virtual bool isGranted(Kind kind) const = 0;
    // Asks the system again; `onChange` follows if the answer changed.
    virtual void refresh() = 0;
    // Asks the system for the grant (a prompt, or switching it on where the program may).
    virtual void request(Kind kind) = 0;
    // Opens the system's settings pane for the grant; false where the system has none (the
    // program's own settings then say what to do).
    virtual bool openSettingsPane(Kind kind) = 0;
    // The program runs in a sandbox that keeps it from reading other applications.
    virtual bool isSandboxed() const = 0;
    // Called on the main thread when an answer changes.
    virtual void setChangeHandler(std::function<void()> handler) = 0;
};
