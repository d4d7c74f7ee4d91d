#include "platform/linux/capture/XTestKeySynthesizer.h"

#include "platform/linux/capture/XcbEventConnection.h"
#include "platform/linux/capture/XcbKeyboardMap.h"

#include <cstdlib>
#include <memory>
#include <vector>
#include <xcb/xtest.h>

namespace {

constexpr xcb_keysym_t kControlL = 0xffe3;
constexpr xcb_keysym_t kLetterC = 0x0063;

struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};

} // namespace

XTestKeySynthesizer::XTestKeySynthesizer(XcbEventConnection& connection)
    : m_connection(&connection) {}

bool XTestKeySynthesizer::modifiersHeld() const {
    if (!m_connection || !m_connection->isValid())
        return false;
    xcb_connection_t* c = m_connection->connection();
    std::unique_ptr<xcb_query_pointer_reply_t, FreeDeleter> reply(
        xcb_query_pointer_reply(c, xcb_query_pointer(c, m_connection->root()), nullptr));
    // Caps Lock and Num Lock stay on for hours; only held keys matter here.
    const quint16 held =
        XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1 | XCB_MOD_MASK_4;
    if (reply && (reply->mask & held) != 0)
        return true;
    // Any other key down counts too: while the hot key's own key is down, its grab sends
    // every key to this program, the copy keys included.
    std::unique_ptr<xcb_query_keymap_reply_t, FreeDeleter> keymap(
        xcb_query_keymap_reply(c, xcb_query_keymap(c), nullptr));
    if (!keymap)
        return false;
    for (const quint8 bits : keymap->keys)
        if (bits != 0)
            return true;
    return false;
}

bool XTestKeySynthesizer::sendCopy() {
    if (!m_connection || !m_connection->isValid())
        return false;
    xcb_connection_t* c = m_connection->connection();
    const xcb_query_extension_reply_t* extension = xcb_get_extension_data(c, &xcb_test_id);
    if (!extension || !extension->present)
        return false;
    // Looked up each time: the user may have switched layouts since the last copy.
    const XcbKeyboardMap keyboard(c);
    const std::optional<xcb_keycode_t> control = keyboard.keyFor(kControlL);
    const std::optional<xcb_keycode_t> letter = keyboard.keyFor(kLetterC);
    if (!control || !letter)
        return false;
    const xcb_window_t root = m_connection->root();
    const struct {
        quint8 type;
        xcb_keycode_t key;
    } strokes[] = {{XCB_KEY_PRESS, *control},
                   {XCB_KEY_PRESS, *letter},
                   {XCB_KEY_RELEASE, *letter},
                   {XCB_KEY_RELEASE, *control}};
    std::vector<xcb_void_cookie_t> cookies;
    for (const auto& stroke : strokes)
        cookies.push_back(xcb_test_fake_input_checked(c, stroke.type, stroke.key, XCB_CURRENT_TIME,
                                                      root, 0, 0, 0));
    bool sent = true;
    for (const xcb_void_cookie_t& cookie : cookies) {
        std::unique_ptr<xcb_generic_error_t, FreeDeleter> error(xcb_request_check(c, cookie));
        sent = sent && !error;
    }
    return sent;
}
