#include "companion/x11/atoms.h"

#include <vector>

#include "linux/desktop/x_link.h"

namespace ZYNE::Companion {

void LearnAtoms(xcb_connection_t* connection, std::span<const std::pair<std::string_view, xcb_atom_t*>> wanted) {
    std::vector<xcb_intern_atom_cookie_t> cookies;
    for (const auto& [name, atom] : wanted) {
        cookies.push_back(xcb_intern_atom(connection, 0, static_cast<uint16_t>(name.size()), name.data()));
    }
    for (size_t index = 0; index < wanted.size(); ++index) {
        const Linux::XReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookies[index], nullptr));
        *wanted[index].second = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    }
}

}  // namespace ZYNE::Companion
