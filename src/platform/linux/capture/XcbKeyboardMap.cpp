#include "platform/linux/capture/XcbKeyboardMap.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace {
struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};
} // namespace

XcbKeyboardMap::XcbKeyboardMap(xcb_connection_t* connection) {
    if (!connection)
        return;
    const xcb_setup_t* setup = xcb_get_setup(connection);
    const xcb_keycode_t minKey = setup->min_keycode;
    const xcb_keycode_t maxKey = setup->max_keycode;
    const auto keyboardCookie =
        xcb_get_keyboard_mapping(connection, minKey, std::uint8_t(maxKey - minKey + 1));
    const auto modifierCookie = xcb_get_modifier_mapping(connection);
    std::unique_ptr<xcb_get_keyboard_mapping_reply_t, FreeDeleter> keyboard(
        xcb_get_keyboard_mapping_reply(connection, keyboardCookie, nullptr));
    std::unique_ptr<xcb_get_modifier_mapping_reply_t, FreeDeleter> modifiers(
        xcb_get_modifier_mapping_reply(connection, modifierCookie, nullptr));
    if (!keyboard || !modifiers || keyboard->keysyms_per_keycode == 0)
        return;
    const xcb_keysym_t* symbols = xcb_get_keyboard_mapping_keysyms(keyboard.get());
    m_symbols.assign(symbols, symbols + xcb_get_keyboard_mapping_keysyms_length(keyboard.get()));
    const xcb_keycode_t* modifierKeys = xcb_get_modifier_mapping_keycodes(modifiers.get());
    m_modifierKeys.assign(modifierKeys,
                          modifierKeys + xcb_get_modifier_mapping_keycodes_length(modifiers.get()));
    m_keysPerModifier = modifiers->keycodes_per_modifier;
    m_minKey = minKey;
    m_maxKey = maxKey;
    m_perKey = keyboard->keysyms_per_keycode;
}

xcb_keysym_t XcbKeyboardMap::symbol(xcb_keycode_t keyCode, int column) const {
    const std::size_t index = std::size_t(keyCode - m_minKey) * std::size_t(m_perKey) + column;
    return index < m_symbols.size() ? m_symbols[index] : 0;
}

bool XcbKeyboardMap::hasKey(xcb_keycode_t keyCode) const {
    if (!isValid() || keyCode < m_minKey || keyCode > m_maxKey)
        return false;
    for (int column = 0; column < m_perKey; ++column)
        if (symbol(keyCode, column) != 0)
            return true;
    return false;
}

std::optional<xcb_keycode_t> XcbKeyboardMap::keyFor(xcb_keysym_t keysym) const {
    if (!isValid())
        return std::nullopt;
    for (int column = 0; column < m_perKey; ++column)
        for (int key = m_minKey; key <= m_maxKey; ++key)
            if (symbol(xcb_keycode_t(key), column) == keysym)
                return xcb_keycode_t(key);
    return std::nullopt;
}

quint16 XcbKeyboardMap::modifierMaskFor(xcb_keysym_t keysym) const {
    if (!isValid() || m_keysPerModifier == 0)
        return 0;
    for (int modifier = 0; modifier < 8; ++modifier)
        for (int i = 0; i < m_keysPerModifier; ++i) {
            const std::size_t index = std::size_t(modifier * m_keysPerModifier + i);
            const xcb_keycode_t key = index < m_modifierKeys.size() ? m_modifierKeys[index] : 0;
            if (key == 0)
                continue;
            for (int column = 0; column < m_perKey; ++column)
                if (symbol(key, column) == keysym)
                    return quint16(1u << modifier);
        }
    return 0;
}

bool XcbKeyboardMap::isModifierKey(xcb_keycode_t keyCode) const {
    return keyCode != 0 &&
           std::find(m_modifierKeys.begin(), m_modifierKeys.end(), keyCode) != m_modifierKeys.end();
}
