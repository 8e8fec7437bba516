// What collabctl does, one function a command. Each writes its result to standard output and answers the exit status; a
// failure is thrown as CommandError, or as one of the errors of client/.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "client/device_registry.h"

namespace ZYNE::Cli {

// A failure as one line for people.
class CommandError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Where a device has answered, and the answer is no: a result code other than 0, or crossing that does not start.
constexpr int STATUS_OF_NO = 3;

class Refusal : public CommandError {
public:
    using CommandError::CommandError;
};

// Which device is meant: by its name, by its state directory, or the only one there is.
struct DeviceChoice {
    std::string name;
    std::string directory;
};

// Throws CommandError when there is no such device, or when nothing was chosen and several run. With `mayHaveEnded` a
// device that ended without leaving is found too.
Client::DeviceEntry ChooseDevice(const DeviceChoice& choice, bool mayHaveEnded);

// Throws CommandError when the device has no user of that number.
void CheckUser(const Client::DeviceEntry& device, int32_t user);

int ShowDevices(const DeviceChoice& choice, bool json);

int GetInfo(const DeviceChoice& choice, const std::string& peer, const std::vector<std::string>& names,
    std::chrono::seconds timeout, bool json);

// Whether the device's set-up is complete, and the device itself.
int ShowStatus(const DeviceChoice& choice, bool json);

// One value of a profile: its service, the service's type, its key.
struct ProfileKey {
    std::string service;
    std::string serviceType;
    std::string key;
};

// Of the profile of `device`, which is a peer or the chosen device itself.
int GetProfile(const DeviceChoice& choice, const std::string& device, const ProfileKey& key, bool json);
// Both change the chosen device's profile. The value "-" is what standard input has.
int PutProfile(const DeviceChoice& choice, const ProfileKey& key, const std::string& value, bool json);
int DeleteProfile(const DeviceChoice& choice, const ProfileKey& key, bool json);
// Of every device when `device` is empty.
int ListProfiles(const DeviceChoice& choice, const std::string& device, bool json);

// Which changes are shown; what is empty does not matter.
struct ProfileFilter {
    std::string device;
    std::string service;
    std::string key;
};

// Prints changes of profiles, one line each, until the user interrupts. Throws when the device has ended.
int WatchProfiles(const DeviceChoice& choice, const ProfileFilter& filter, bool json);

// A setting of `user`, or of all users, see client/device_client.h.
int GetSetting(const DeviceChoice& choice, const std::string& key, int32_t user, bool json);
int PutSetting(const DeviceChoice& choice, const std::string& key, const std::string& value, int32_t user, bool json);

// The last `lines` lines of the device's log; with `follow` goes on until the user interrupts. Throws when the device
// has ended.
int ShowLog(const DeviceChoice& choice, size_t lines, bool follow);

int CreateAccount(const std::string& directory, const std::string& name);
// An empty `udid` has a new one made.
int EnrollDevice(const std::string& account, const std::string& directory, const std::string& udid);
int RenewDevice(const std::string& account, const std::string& directory);

// Revokes the device `udid`, then hands the account's list of revoked devices to running devices as PublishRevocations
// does.
int RevokeDevice(const DeviceChoice& choice, const std::string& account, const std::string& udid);
// Hands the list to the chosen device, or to all that run when none is chosen. 1 when none of them has it then.
int PublishRevocations(const DeviceChoice& choice, const std::string& account);

}  // namespace ZYNE::Cli
