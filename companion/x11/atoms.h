// Names that programs on an X display agree on.
#pragma once

#include <span>
#include <string_view>
#include <utility>

#include <xcb/xcb.h>

namespace ZYNE::Companion {

// Asks for all of them at once: `wanted` are names and where to put what stands for them.
void LearnAtoms(xcb_connection_t* connection, std::span<const std::pair<std::string_view, xcb_atom_t*>> wanted);

}  // namespace ZYNE::Companion
