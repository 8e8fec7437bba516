#include "companion/x11/fullscreen.h"

#include <algorithm>
#include <array>
#include <span>

#include "companion/x11/atoms.h"
#include "linux/desktop/x_link.h"

namespace ZYNE::Companion {

using Linux::XReply;

Fullscreen::Fullscreen(xcb_connection_t* connection, xcb_window_t root) : connection_(connection), root_(root) {
    const std::array<std::pair<std::string_view, xcb_atom_t*>, 6> wanted{{{"_NET_SUPPORTING_WM_CHECK", &managerCheck_},
        {"_NET_ACTIVE_WINDOW", &activeWindow_}, {"_NET_WM_STATE", &state_}, {"_NET_WM_STATE_FULLSCREEN", &stateFull_},
        {"_NET_WM_WINDOW_TYPE", &type_}, {"_NET_WM_WINDOW_TYPE_DESKTOP", &typeDesktop_}}};
    LearnAtoms(connection, wanted);
}

bool Fullscreen::IsThere(const std::vector<Screen>& screens) const {
    const auto managerCookie = Ask(root_, managerCheck_, XCB_ATOM_WINDOW);
    const auto activeCookie = Ask(root_, activeWindow_, XCB_ATOM_WINDOW);
    const auto focusCookie = xcb_get_input_focus(connection_);
    const bool isManaged = !Values(managerCookie).empty();
    const std::vector<uint32_t> active = Values(activeCookie);
    const XReply<xcb_get_input_focus_reply_t> focus(xcb_get_input_focus_reply(connection_, focusCookie, nullptr));
    if (isManaged) {
        return !active.empty() && active[0] != XCB_NONE && IsActiveFull(active[0]);
    }
    // Below 2 it says that no window, or the one under the pointer, has it.
    return focus && focus->focus > 1 && focus->focus != root_ && IsTopmostFull(screens, focus->focus);
}

bool Fullscreen::IsActiveFull(xcb_window_t active) const {
    const std::vector<uint32_t> states = Values(Ask(active, state_, XCB_ATOM_ATOM));
    return std::ranges::find(states, stateFull_) != states.end();
}

bool Fullscreen::IsTopmostFull(const std::vector<Screen>& screens, xcb_window_t focus) const {
    const XReply<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(connection_, xcb_query_tree(connection_, root_), nullptr));
    if (!tree) {
        return false;
    }
    const std::span children(
        xcb_query_tree_children(tree.get()), static_cast<size_t>(xcb_query_tree_children_length(tree.get())));
    for (auto at = children.rbegin(); at != children.rend(); ++at) {
        const xcb_window_t window = *at;
        const XReply<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(connection_, xcb_get_window_attributes(connection_, window), nullptr));
        if (attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE &&
            attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT) {
            return window == TopLevelOf(focus) && Covers(window, screens);
        }
    }
    return false;
}

bool Fullscreen::Covers(xcb_window_t window, const std::vector<Screen>& screens) const {
    const auto typeCookie = Ask(window, type_, XCB_ATOM_ATOM);
    const XReply<xcb_get_geometry_reply_t> area(
        xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, window), nullptr));
    const std::vector<uint32_t> types = Values(typeCookie);
    if (!area || std::ranges::find(types, typeDesktop_) != types.end()) {
        return false;
    }
    return std::ranges::any_of(screens, [&](const Screen& screen) {
        return area->x <= screen.x && area->y <= screen.y && area->x + area->width >= screen.x + screen.width &&
            area->y + area->height >= screen.y + screen.height;
    });
}

xcb_window_t Fullscreen::TopLevelOf(xcb_window_t window) const {
    while (true) {
        const XReply<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(connection_, xcb_query_tree(connection_, window), nullptr));
        if (!tree || tree->parent == XCB_NONE || tree->parent == root_) {
            return window;
        }
        window = tree->parent;
    }
}

std::vector<uint32_t> Fullscreen::Values(xcb_get_property_cookie_t cookie) const {
    const XReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection_, cookie, nullptr));
    if (!reply || reply->format != 32) {
        return {};
    }
    const auto* first = static_cast<const uint32_t*>(xcb_get_property_value(reply.get()));
    return {first, first + reply->value_len};
}

xcb_get_property_cookie_t Fullscreen::Ask(xcb_window_t window, xcb_atom_t property, xcb_atom_t type) const {
    constexpr uint32_t MOST_VALUES = 64;
    return xcb_get_property(connection_, 0, window, property, type, 0, MOST_VALUES);
}

}  // namespace ZYNE::Companion
