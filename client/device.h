// A device of this user that runs on this machine, for programs: one connection, and everything that can be asked.
//
//     const auto entry = ZYNE::Client::FindDevice("phone");
//     if (!entry) {
//         return 1;
//     }
//     ZYNE::Client::Device phone(*entry);
//     for (const ZYNE::Client::Peer& peer : phone.Info().ListPeers()) {
//         std::cout << peer.name << '\n';
//     }
//     phone.Settings().Put("user_setup_complete", "1", ZYNE::Client::Settings::ALL_USERS);
//
// Texts are UTF-8 without zero bytes, of 8 MiB at most. The connection lasts until the device ends; a program that goes
// on after that must find the device again. DeviceWatch and CrossingWatch tell of changes and events.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "client/channels.h"
#include "client/crossing.h"
#include "client/device_error.h"
#include "client/device_registry.h"
#include "client/info.h"
#include "client/profiles.h"
#include "client/settings.h"

namespace ZYNE::Client {

struct SetupSetting {
    std::string name;
    bool isSet;
    std::string value;
    bool isInTheWay;  // it keeps the set-up from being complete
};

struct Setup {
    bool complete;  // stays so until the device is restarted, whatever the settings say since
    std::vector<SetupSetting> settings;
};

struct NetworkInterface {
    std::string name;
    std::vector<std::string> addresses;
};

// Something that people should look at.
struct NetworkNote {
    std::string kind;  // clone, refused and so on: device_api.xml lists them
    std::string text;  // one line
};

struct NetworkLink {
    std::string peerId;   // as Peer::id
    std::string address;  // with the port
};

struct Network {
    std::string state;                         // "up", or what the device waits for
    std::vector<NetworkInterface> interfaces;  // those in use
    uint16_t port;                             // where it takes connections; 0 while it cannot
    std::vector<NetworkNote> notes;
    std::vector<NetworkLink> links;  // to the peers that are online
};

// One thread at a time, including the facets; a program with several threads makes one for each. Every operation, also
// of a facet, waits for the device's answer. It throws DeviceError when the device cannot be reached, does not answer
// in time or refuses, and when a text is not UTF-8 or too large.
class Device {
public:
    // How long an answer may take.
    static constexpr std::chrono::seconds ANSWER_TIME{10};

    // Connects to a device that runs.
    explicit Device(const DeviceEntry& entry, std::chrono::milliseconds answerTime = ANSWER_TIME);
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;
    ~Device();

    // Where the device was when this connected.
    const DeviceEntry& Entry() const { return entry_; }

    // The facets, each valid as long as this object.
    Client::Info Info() { return Client::Info(*connection_); }
    Client::Profiles Profiles() { return Client::Profiles(*connection_); }
    Client::Crossing Crossing() { return Client::Crossing(*connection_); }
    Client::Settings Settings() { return Client::Settings(*connection_); }
    Client::Channels Channels() { return Client::Channels(*connection_); }

    std::string Name();
    std::string Type();  // phone, tablet, pc, tv
    std::string AccountMode();

    Setup GetSetup();
    Network GetNetwork();

    // Gives the device its account's list of revoked devices. False when it has that one or a newer one.
    bool TakeRevocations(const std::string& document);

private:
    friend class DeviceWatch;

    const DeviceEntry entry_;
    const std::unique_ptr<DeviceConnection> connection_;
};

}  // namespace ZYNE::Client
