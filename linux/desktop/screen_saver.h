// The desktop's screen saver, on the session bus.
#pragma once

namespace ZYNE::Linux::ScreenSaver {

inline constexpr char NAME[] = "org.freedesktop.ScreenSaver";  // its interface, too
inline constexpr const char* PATHS[] = {
    "/org/freedesktop/ScreenSaver", "/ScreenSaver"};  // the second is the only one of some desktops

}  // namespace ZYNE::Linux::ScreenSaver
