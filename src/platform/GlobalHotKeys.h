#pragma once

#include <QtGlobal>
#include <functional>

// The window system's global key combinations. Combinations are given as the stored form
// names them: a Mac virtual key code and the classic modifier bits (command 0x100, shift
// 0x200, option 0x800, control 0x1000); the adapter maps them to its own keys.
class GlobalHotKeys {
public:
    // A press of a registered combination, with the signature and identifier it was
    // registered under. Called from the event dispatch on the main thread.
    using PressHandler = std::function<void(quint32 signature, quint32 id)>;

    virtual ~GlobalHotKeys() = default;

    // Installs the press handler; false (with a nonzero status in `status`) when the system
    // refuses.
    virtual bool install(PressHandler handler, int& status) = 0;
    // Registers the combination; 0 on success, else the system's status (on X11 the error
    // code, 10 for BadAccess when another client holds it). A second registration of the
    // same identifier replaces the first.
    virtual int add(quint32 signature, quint32 id, quint32 keyCode, quint32 modifiers) = 0;
    virtual void remove(quint32 id) = 0;
};
