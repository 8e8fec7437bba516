// What collabctl does, one function a command. Each writes its result to standard output and answers the exit status; a
// failure is thrown as CommandError, or as one of the errors of client/.
#pragma once

#include <chrono>
#include <cstddef>
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

// Which device is meant: by its name, by its state directory, or the only one there is.
struct DeviceChoice {
    std::string name;
    std::string directory;
};

// Throws CommandError when there is no such device, or when nothing was chosen and several run. With `mayHaveEnded` a
// device that ended without leaving is found too.
Client::DeviceEntry ChooseDevice(const DeviceChoice& choice, bool mayHaveEnded);

int ShowDevices(const DeviceChoice& choice, bool json);

int GetInfo(const DeviceChoice& choice, const std::string& peer, const std::vector<std::string>& names,
    std::chrono::seconds timeout, bool json);

// The last `lines` lines of the device's log; with `follow` goes on until the device has ended or the user interrupts.
int ShowLog(const DeviceChoice& choice, size_t lines, bool follow);

int CreateAccount(const std::string& directory, const std::string& name);

// An empty `udid` has a new one made.
int EnrollDevice(const std::string& account, const std::string& directory, const std::string& udid);

}  // namespace ZYNE::Cli
