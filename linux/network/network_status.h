// How a device is connected, told to people.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ZYNE::Linux {

struct NetworkStatus {
    struct Interface {
        std::string name;
        std::vector<std::string> addresses;
    };
    // What somebody should look at.
    struct Note {
        std::string kind;  // clone, refused, revoked, overload, version or expires
        std::string text;  // one line
    };
    struct Link {
        std::string udid;
        std::string address;  // of its other end, with the port
    };

    std::string state;                  // "up", or what it waits for, such as "waiting for interface eth0"
    std::vector<Interface> interfaces;  // those in use
    uint16_t port = 0;                  // 0 while no connection can be taken
    std::vector<Note> notes;
    std::vector<Link> links;  // one for each device that is online
};

}  // namespace ZYNE::Linux
