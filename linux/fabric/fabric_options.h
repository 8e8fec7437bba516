// What the network half of a device is started with.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace ZYNE::Linux {

struct FabricOptions {
    enum class Trust {
        ACCOUNT,  // peers prove by certificate that they are of this account; everything is encrypted
        OPEN      // nothing is proved and nothing is encrypted
    };

    std::string deviceName;   // at most 64 bytes of UTF-8
    uint32_t deviceType = 0;  // one of CollaborationFwk::DeviceType

    Trust trust = Trust::ACCOUNT;
    std::filesystem::path credentials;  // ACCOUNT: the directory that EnrollDevice made; the udid is in it
    std::string accountName;            // OPEN: devices that name another are neither seen nor served
    std::string udid;                   // OPEN

    std::string interface = "lo";    // the one network interface that is used
    std::vector<std::string> peers;  // hosts on which peers are looked for
    uint32_t domain = 0;             // 0 to 230; devices of different domains do not meet
    std::string tag;                 // nor do devices of different tags
    bool multicast = false;          // whether peers are looked for by multicast too
};

}  // namespace ZYNE::Linux
