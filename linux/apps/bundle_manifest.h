// What an installed app says of itself: the file manifest.json in its folder.
//
//     {
//         "bundleName": "org.example.deskfacts",
//         "label": "Desk facts", "version": "1.0",     optional
//         "enabled": true, "user": 100,                optional, these are the defaults
//         "dataShares": ["datashare:///org.example.deskfacts"],
//                                                      optional: the app's own shared data, see docs/data_share.md
//         "channels": ["notes"],                       optional: its channels to peers, see docs/channels.md
//         "abilities": [],                             optional
//         "extensions": [{
//             "name": "FactsExtension",
//             "exec": ["bin/desk_facts"],
//             "actions": ["com.example.action"],
//             "metadata": [{"name": "a", "value": "b", "resource": "$profile:info"}]
//         }]
//     }
//
// An ability has the same members as an extension except for "exec", the command of the extension's process: the
// executable, relative to the folder unless absolute, and its arguments. "value" and "resource" may be left out. The
// resource "$profile:NAME" is the file resources/profile/NAME.json.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "linux/services/bus_service.h"
#include "platform/bundle/ability_info.h"

namespace ZYNE::Linux {

inline constexpr int32_t DEVICE_USER = 100;

struct BundleAbility {
    std::string name;
    std::vector<std::string> actions;
    std::vector<Metadata> metadata;
};

struct BundleExtension : BundleAbility {
    BusService service;
};

struct Bundle {
    std::filesystem::path folder;
    std::string bundleName;
    std::string label;
    std::string version;
    bool enabled = true;
    int32_t user = DEVICE_USER;
    std::vector<std::string> dataShares;
    std::vector<std::string> channels;
    std::vector<BundleAbility> abilities;
    std::vector<BundleExtension> extensions;
};

// Throws std::runtime_error with one line that names the file and what is wrong.
Bundle ReadManifest(const std::filesystem::path& folder);

}  // namespace ZYNE::Linux
