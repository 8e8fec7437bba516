// The names by which programs on an X display speak about the clipboard.
#pragma once

#include <xcb/xcb.h>

#include "companion/x11/atoms.h"

namespace ZYNE::Companion {

struct ClipboardAtoms {
    explicit ClipboardAtoms(xcb_connection_t* connection);

    xcb_atom_t clipboard = 0;
    xcb_atom_t targets = 0;
    xcb_atom_t multiple = 0;
    xcb_atom_t pairs = 0;  // the type of what belongs to `multiple`
    xcb_atom_t timestamp = 0;
    xcb_atom_t incremental = 0;
    xcb_atom_t utf8 = 0;
    xcb_atom_t plainUtf8 = 0;
    xcb_atom_t latin1 = XCB_ATOM_STRING;
    xcb_atom_t png = 0;
    xcb_atom_t secrecy = 0;  // what password managers say about it
    xcb_atom_t stamp = 0;    // a property of our own, to learn the time
};

}  // namespace ZYNE::Companion
