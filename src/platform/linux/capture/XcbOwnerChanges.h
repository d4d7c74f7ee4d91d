#pragma once

#include <cstdint>
#include <xcb/xcb.h>

// Has XFixes report every change of `selection`'s owner (a new owner, the owner's window
// destroyed, its client gone) as an event on `window`. Returns the response type those
// events arrive with, or 0 when the server has no XFixes.
std::uint8_t watchOwnerChanges(xcb_connection_t* connection, xcb_window_t window,
                               xcb_atom_t selection);
