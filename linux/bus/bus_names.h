// What every bus, or every machine, has: names, paths and interfaces.
#pragma once

namespace ZYNE::Linux {

// The bus itself, on each of its connections.
namespace MessageBus {
inline constexpr char NAME[] = "org.freedesktop.DBus";  // its interface, too
inline constexpr char PATH[] = "/org/freedesktop/DBus";
}  // namespace MessageBus

// On the system bus.
namespace LoginManager {
inline constexpr char NAME[] = "org.freedesktop.login1";
inline constexpr char PATH[] = "/org/freedesktop/login1";
inline constexpr char INTERFACE[] = "org.freedesktop.login1.Manager";
}  // namespace LoginManager

}  // namespace ZYNE::Linux
