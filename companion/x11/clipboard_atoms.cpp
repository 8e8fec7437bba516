#include "companion/x11/clipboard_atoms.h"

#include <array>

namespace ZYNE::Companion {

ClipboardAtoms::ClipboardAtoms(xcb_connection_t* connection) {
    const std::array<std::pair<std::string_view, xcb_atom_t*>, 11> wanted{{{"CLIPBOARD", &clipboard},
        {"TARGETS", &targets}, {"MULTIPLE", &multiple}, {"ATOM_PAIR", &pairs}, {"TIMESTAMP", &timestamp},
        {"INCR", &incremental}, {"UTF8_STRING", &utf8}, {"text/plain;charset=utf-8", &plainUtf8}, {"image/png", &png},
        {"x-kde-passwordManagerHint", &secrecy}, {"COMPANION_STAMP", &stamp}}};
    LearnAtoms(connection, wanted);
}

}  // namespace ZYNE::Companion
