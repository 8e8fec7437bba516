// Whether a window fills a screen and has the person's attention: a game, a film, a talk.
#pragma once

#include <vector>

#include <xcb/xcb.h>

#include "companion/core/geometry.h"

namespace ZYNE::Companion {

// One thread at a time.
class Fullscreen {
public:
    Fullscreen(xcb_connection_t* connection, xcb_window_t root);

    // As the window manager says it of the active window. Without one: a window that covers one of `screens`, lies
    // above all others and has the focus; one that says that it is the desktop does not count.
    bool IsThere(const std::vector<Screen>& screens) const;

private:
    bool IsActiveFull(xcb_window_t active) const;
    bool IsTopmostFull(const std::vector<Screen>& screens, xcb_window_t focus) const;
    bool Covers(xcb_window_t window, const std::vector<Screen>& screens) const;
    xcb_window_t TopLevelOf(xcb_window_t window) const;
    std::vector<uint32_t> Values(xcb_get_property_cookie_t cookie) const;
    xcb_get_property_cookie_t Ask(xcb_window_t window, xcb_atom_t property, xcb_atom_t type) const;

    xcb_connection_t* const connection_;
    const xcb_window_t root_;
    xcb_atom_t managerCheck_ = 0;
    xcb_atom_t activeWindow_ = 0;
    xcb_atom_t state_ = 0;
    xcb_atom_t stateFull_ = 0;
    xcb_atom_t type_ = 0;
    xcb_atom_t typeDesktop_ = 0;
};

}  // namespace ZYNE::Companion
