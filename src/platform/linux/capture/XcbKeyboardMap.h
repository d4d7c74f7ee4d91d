#pragma once

#include <QtGlobal>
#include <optional>
#include <vector>
#include <xcb/xcb.h>

// The server's keyboard and modifier mapping as read at construction: which keys carry a
// keysym, and which modifier bit a key drives. Reading it costs two round trips.
class XcbKeyboardMap {
public:
    explicit XcbKeyboardMap(xcb_connection_t* connection);

    bool isValid() const { return m_perKey > 0; }
    // Whether the key exists on this keyboard: in the server's range with a symbol on it.
    bool hasKey(xcb_keycode_t keyCode) const;
    // The first key with `keysym`, preferring one where it is the unshifted symbol.
    std::optional<xcb_keycode_t> keyFor(xcb_keysym_t keysym) const;
    // The modifier mask a key with `keysym` sets (Num_Lock's is usually Mod2), or 0.
    quint16 modifierMaskFor(xcb_keysym_t keysym) const;
    // Whether the key drives a modifier (Shift, Control, Alt, Super, the locks…).
    bool isModifierKey(xcb_keycode_t keyCode) const;

private:
    xcb_keysym_t symbol(xcb_keycode_t keyCode, int column) const;

    xcb_keycode_t m_minKey = 0;
    xcb_keycode_t m_maxKey = 0;
    int m_perKey = 0;
    std::vector<xcb_keysym_t> m_symbols;
    int m_keysPerModifier = 0;
    std::vector<xcb_keycode_t> m_modifierKeys; // 8 rows of m_keysPerModifier
};
