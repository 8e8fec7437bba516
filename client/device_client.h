// A program's connection to a device of its own user.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
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

// What was asked for does not exist on the device.
class NotFound : public DeviceError {
public:
    using DeviceError::DeviceError;
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

// A value that a device publishes, as it is known on the device that was asked.
struct ProfileEntry {
    std::string deviceName;  // empty when it is not known
    std::string deviceId;    // shortened
    std::string service;
    std::string serviceType;  // empty when it is not known
    std::string key;
    std::string value;
    bool whole;  // `value` is all of it, not its beginning
};

struct SetupSetting {
    std::string name;
    bool isSet;
    std::string value;
    bool isInTheWay;  // set-up is not complete because of it
};

struct Setup {
    bool complete;  // stays so until the device is restarted, whatever the settings say since
    std::vector<SetupSetting> settings;
};

struct NetworkInterface {
    std::string name;
    std::vector<std::string> addresses;
};

// What somebody should look at.
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

// One thread at a time; a program that asks from several threads makes one for each. Every operation throws DeviceError
// when the device cannot be reached, does not answer in time or refuses, and when a text is not UTF-8 or too large.
class DeviceClient {
public:
    // Whose settings are meant when no user is.
    static constexpr int32_t ALL_USERS = -1;

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
    // Blocks until it answers, for five seconds at most after the request was sent.
    InfoAnswer GetInfo(const std::string& peer, const std::vector<std::string>& names);

    // What is known of the profile of `device`, a peer as for GetInfo or the device itself: the value of `key` under
    // `service`, which may be an empty text. No value when nothing is known.
    std::optional<std::string> GetProfile(
        const std::string& device, const std::string& service, const std::string& serviceType, const std::string& key);
    // Both change the device's own profile: 0 once that is kept, or why it is not, see device_api.xml.
    int32_t PutProfile(
        const std::string& service, const std::string& serviceType, const std::string& key, const std::string& value);
    int32_t DeleteProfile(const std::string& service, const std::string& key);
    // All that is known of `device`, or of every device when it is empty, in the order of device names, services and
    // keys. Of large values there is the beginning.
    std::vector<ProfileEntry> ListProfiles(const std::string& device);

    Setup GetSetup();

    Network GetNetwork();

    // A setting of `user`; throws NotFound when there is none. One that is to be written need not be there yet.
    std::string GetSetting(const std::string& key, int32_t user);
    void PutSetting(const std::string& key, const std::string& value, int32_t user);

    // Gives the device its account's list of revoked devices. False when it has that one or a newer one.
    bool TakeRevocations(const std::string& document);

private:
    class Proxy;

    const std::string name_;
    std::unique_ptr<sdbus::IConnection> connection_;
    std::unique_ptr<Proxy> proxy_;
};

}  // namespace ZYNE::Client
