#pragma once

#include "keys/MacKeyCodes.h"

#include <cstdlib>
#include <xcb/xcb.h>

// Another X client: it holds key grabs on the root window until it goes.
class ForeignKeyGrab {
public:
    ForeignKeyGrab() : m_connection(xcb_connect(nullptr, nullptr)) {}
    ~ForeignKeyGrab() { xcb_disconnect(m_connection); }
    ForeignKeyGrab(const ForeignKeyGrab&) = delete;
    ForeignKeyGrab& operator=(const ForeignKeyGrab&) = delete;

    // `keyCode` in the stored numbering; `xModifiers` an X modifier mask.
    bool grab(quint32 keyCode, quint16 xModifiers) {
        const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
        xcb_generic_error_t* error = xcb_request_check(
            m_connection, xcb_grab_key_checked(m_connection, 1, root, xModifiers,
                                               xcb_keycode_t(*MacKeyCodes::toX11KeyCode(keyCode)),
                                               XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        std::free(error);
        return error == nullptr;
    }

private:
    xcb_connection_t* m_connection;
};
