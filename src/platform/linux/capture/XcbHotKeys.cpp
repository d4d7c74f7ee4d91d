#include "platform/linux/capture/XcbHotKeys.h"

#include "keys/MacKeyCodes.h"
#include "platform/linux/capture/XcbEventConnection.h"
#include "platform/linux/capture/XcbKeyboardMap.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace {

// The stored modifier bits.
constexpr quint32 kCommand = 0x100;
constexpr quint32 kShift = 0x200;
constexpr quint32 kOption = 0x800;
constexpr quint32 kControl = 0x1000;

constexpr xcb_keysym_t kNumLockSymbol = 0xff7f;
// Not a key the keyboard has: what the server answers for a key code outside its range.
constexpr int kNoSuchKey = XCB_VALUE;
constexpr int kNoConnection = -1;

struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};

} // namespace

XcbHotKeys::XcbHotKeys(XcbEventConnection& connection) : m_connection(&connection) {}

XcbHotKeys::~XcbHotKeys() {
    while (!m_bindings.empty())
        remove(m_bindings.back().id);
    if (m_listener && m_connection)
        m_connection->removeListener(*m_listener);
}

quint16 XcbHotKeys::xModifiers(quint32 modifiers) {
    quint16 mask = 0;
    if (modifiers & kControl)
        mask |= XCB_MOD_MASK_CONTROL;
    if (modifiers & kOption)
        mask |= XCB_MOD_MASK_1;
    if (modifiers & kShift)
        mask |= XCB_MOD_MASK_SHIFT;
    if (modifiers & kCommand)
        mask |= XCB_MOD_MASK_4;
    return mask;
}

bool XcbHotKeys::install(PressHandler handler, int& status) {
    if (!m_connection || !m_connection->isValid()) {
        status = kNoConnection;
        return false;
    }
    m_handler = std::move(handler);
    if (!m_listener) {
        m_numLock = XcbKeyboardMap(m_connection->connection()).modifierMaskFor(kNumLockSymbol);
        m_listener = m_connection->addListener(
            [this](const xcb_generic_event_t* event) { return handle(event); });
    }
    status = 0;
    return true;
}

std::vector<quint16> XcbHotKeys::lockVariants() const {
    std::vector<quint16> variants = {0, XCB_MOD_MASK_LOCK};
    if (m_numLock && m_numLock != XCB_MOD_MASK_LOCK) {
        variants.push_back(m_numLock);
        variants.push_back(quint16(m_numLock | XCB_MOD_MASK_LOCK));
    }
    return variants;
}

int XcbHotKeys::add(quint32 signature, quint32 id, quint32 keyCode, quint32 modifiers) {
    if (!m_connection || !m_connection->isValid())
        return kNoConnection;
    const std::optional<quint32> xKey = MacKeyCodes::toX11KeyCode(keyCode);
    if (!xKey || *xKey > 255 ||
        !XcbKeyboardMap(m_connection->connection()).hasKey(xcb_keycode_t(*xKey)))
        return kNoSuchKey;
    const Binding binding{signature, id, xcb_keycode_t(*xKey), xModifiers(modifiers)};

    auto previous = m_bindings.end();
    for (auto it = m_bindings.begin(); it != m_bindings.end(); ++it) {
        if (it->id == id)
            previous = it;
        // The server would grant this client the same keys twice; one press cannot mean two
        // actions, so this refuses as another client holding them would be refused.
        else if (it->key == binding.key && it->modifiers == binding.modifiers)
            return XCB_ACCESS;
    }
    if (previous != m_bindings.end() && previous->key == binding.key &&
        previous->modifiers == binding.modifiers) {
        previous->signature = signature;
        return 0;
    }
    if (const int status = grab(binding.key, binding.modifiers))
        return status; // the binding before, if any, stays
    if (previous != m_bindings.end()) {
        const Binding old = *previous;
        m_bindings.erase(previous);
        ungrab(old.key, old.modifiers);
    }
    m_bindings.push_back(binding);
    return 0;
}

void XcbHotKeys::remove(quint32 id) {
    auto it = std::find_if(m_bindings.begin(), m_bindings.end(),
                           [id](const Binding& b) { return b.id == id; });
    if (it == m_bindings.end())
        return;
    const Binding old = *it;
    m_bindings.erase(it);
    if (m_heldKey == old.key)
        m_heldKey = 0;
    if (m_connection && m_connection->isValid())
        ungrab(old.key, old.modifiers);
}

int XcbHotKeys::grab(xcb_keycode_t key, quint16 modifiers) {
    xcb_connection_t* c = m_connection->connection();
    const std::vector<quint16> variants = lockVariants();
    std::vector<xcb_void_cookie_t> cookies;
    for (quint16 variant : variants)
        cookies.push_back(xcb_grab_key_checked(c, 1, m_connection->root(),
                                               quint16(modifiers | variant), key,
                                               XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    int status = 0;
    for (const xcb_void_cookie_t& cookie : cookies) {
        std::unique_ptr<xcb_generic_error_t, FreeDeleter> error(xcb_request_check(c, cookie));
        if (error && status == 0)
            status = error->error_code;
    }
    // All or nothing: a combination half held would fire only with some locks on.
    if (status != 0)
        ungrab(key, modifiers);
    return status;
}

void XcbHotKeys::ungrab(xcb_keycode_t key, quint16 modifiers) {
    xcb_connection_t* c = m_connection->connection();
    // Releasing a variant another client holds leaves that grab alone.
    xcb_void_cookie_t last{};
    for (quint16 variant : lockVariants())
        last = xcb_ungrab_key_checked(c, key, m_connection->root(), quint16(modifiers | variant));
    // Waited for, so the keys are free for others by the time the caller goes on.
    std::free(xcb_request_check(c, last));
}

bool XcbHotKeys::handle(const xcb_generic_event_t* event) {
    const quint8 type = event->response_type & 0x7f;
    if (type != XCB_KEY_PRESS && type != XCB_KEY_RELEASE)
        return false;
    const auto* key = reinterpret_cast<const xcb_key_press_event_t*>(event);
    if (key->event != m_connection->root())
        return false;
    if (type == XCB_KEY_RELEASE) {
        // By key alone: the modifiers may have come up first.
        if (key->detail != m_heldKey)
            return false;
        m_heldKey = 0;
        m_releasedKey = key->detail;
        m_releaseTime = key->time;
        return true;
    }
    const quint16 relevant = XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1 |
                             XCB_MOD_MASK_2 | XCB_MOD_MASK_3 | XCB_MOD_MASK_4 | XCB_MOD_MASK_5;
    const quint16 state = quint16(key->state & relevant & ~m_numLock);
    auto binding = std::find_if(m_bindings.begin(), m_bindings.end(), [&](const Binding& b) {
        return b.key == key->detail && b.modifiers == state;
    });
    if (binding == m_bindings.end())
        return false;
    const bool repeat =
        m_heldKey == key->detail || (m_releasedKey == key->detail && m_releaseTime == key->time);
    m_heldKey = key->detail;
    if (repeat)
        return true;
    // Copies, as the handler may remove or replace the binding.
    const quint32 signature = binding->signature;
    const quint32 id = binding->id;
    if (m_handler)
        m_handler(signature, id);
    return true;
}
