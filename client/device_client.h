// A program's connection to a device of its own user.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "client/device_registry.h"

namespace sdbus {
class IConnection;
}

namespace ZYNE::Client {

// Why a device could not be asked, as one line for people.
class DeviceError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct Peer {
    std::string name;
    std::string type;  // phone, tablet, pc, tv, or a number
    std::string id;    // shortened
    bool online;
    bool sameAccount;
};

struct InfoAnswer {
    int32_t code;  // 0, or why there are no records; see result_codes.h
    // Name and value of each item in the order asked. A value is empty when nobody on the peer could tell it.
    std::vector<std::pair<std::string, std::string>> records;
};

// One thread at a time; a program that asks from several threads makes one for each. Every operation throws DeviceError
// when the device cannot be reached, does not answer in time or refuses.
class DeviceClient {
public:
    // How long the device may take for an answer.
    static constexpr std::chrono::seconds ANSWER_TIME{10};

    // Connects to a device that runs.
    explicit DeviceClient(const DeviceEntry& device, std::chrono::milliseconds answerTime = ANSWER_TIME);
    DeviceClient(const DeviceClient&) = delete;
    DeviceClient& operator=(const DeviceClient&) = delete;
    ~DeviceClient();

    std::string Name();
    std::string Type();
    std::string AccountMode();

    // The peers that were seen since the device came up, in the order of names.
    std::vector<Peer> ListPeers();

    // Asks `peer`, which is a peer's name, its id as ListPeers gives it, or its network id, for the items `names`.
    // Blocks until it answers, for five seconds at most.
    InfoAnswer GetInfo(const std::string& peer, const std::vector<std::string>& names);

private:
    class Proxy;

    template <typename Operation>
    auto Ask(Operation operation);

    const std::string name_;
    std::unique_ptr<sdbus::IConnection> connection_;
    std::unique_ptr<Proxy> proxy_;
};

}  // namespace ZYNE::Client
