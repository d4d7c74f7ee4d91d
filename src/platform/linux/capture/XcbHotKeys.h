#pragma once

#include "platform/GlobalHotKeys.h"

#include <QPointer>
#include <optional>
#include <vector>
#include <xcb/xcb.h>

class XcbEventConnection;

// Global key combinations as passive key grabs on the root window of the program's own X
// connection. Each combination is grabbed once per state of Caps Lock and Num Lock, so it
// fires whichever of them is on.
class XcbHotKeys : public GlobalHotKeys {
public:
    explicit XcbHotKeys(XcbEventConnection& connection);
    ~XcbHotKeys() override;

    bool install(PressHandler handler, int& status) override;
    int add(quint32 signature, quint32 id, quint32 keyCode, quint32 modifiers) override;
    void remove(quint32 id) override;

    // The X modifier mask of the stored modifier bits (control, option, shift, command).
    static quint16 xModifiers(quint32 modifiers);

private:
    struct Binding {
        quint32 signature;
        quint32 id;
        xcb_keycode_t key;
        quint16 modifiers;
    };

    bool handle(const xcb_generic_event_t* event);
    std::vector<quint16> lockVariants() const;
    int grab(xcb_keycode_t key, quint16 modifiers);
    void ungrab(xcb_keycode_t key, quint16 modifiers);

    QPointer<XcbEventConnection> m_connection;
    PressHandler m_handler;
    std::optional<int> m_listener;
    quint16 m_numLock = 0;
    std::vector<Binding> m_bindings;
    // A held key repeats as release and press at the same server time; those presses are not
    // new ones.
    xcb_keycode_t m_releasedKey = 0;
    xcb_timestamp_t m_releaseTime = 0;
    xcb_keycode_t m_heldKey = 0;
};
