// Which devices run on this machine under this user, and where.
//
// A running device NAME has the directory devices/NAME in $XDG_RUNTIME_DIR/collaborationfwk, or in
// /tmp/collaborationfwk-UID if there is no XDG_RUNTIME_DIR. It is the device's runtime directory, with the socket of
// its bus and whatever else lasts as long as the process. In it, "state" links to the state directory, "address" holds
// the process number and, once the device can be asked, a blank and the address of the bus, and "device.lock" is locked
// while the device runs. In the state directory, "run" links back.
#pragma once

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "linux/base/file_lock.h"

namespace ZYNE::Client {

// Why a device cannot be registered or found, as one line.
class RegistryError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct DeviceEntry {
    std::string name;
    std::filesystem::path runtimeDirectory;
    std::filesystem::path stateDirectory;
    std::string busAddress;  // of the device's bus; empty while the device is starting
    bool running = false;    // false: it ended without cleaning up, for example killed

    // The file that the device logs to.
    std::filesystem::path LogFile() const { return stateDirectory / "device.log"; }
};

// All devices of this user, in the order of names. Throws RegistryError when the registry belongs to somebody else.
std::vector<DeviceEntry> ListDevices();

// The device `name`.
std::optional<DeviceEntry> FindDevice(const std::string& name);

// The device that has, or last had, the state directory `directory`.
std::optional<DeviceEntry> FindDeviceByDirectory(const std::filesystem::path& directory);

// A running device's place in the registry: made by the device, removed with this object.
class DeviceRegistration {
public:
    // Throws RegistryError when a device of that name, or with that state directory, runs already.
    DeviceRegistration(const std::string& name, const std::filesystem::path& stateDirectory);
    DeviceRegistration(const DeviceRegistration&) = delete;
    DeviceRegistration& operator=(const DeviceRegistration&) = delete;
    ~DeviceRegistration();

    const DeviceEntry& Entry() const { return entry_; }

    // Tells programs that the device can be asked at `busAddress`.
    void Announce(const std::string& busAddress);

private:
    DeviceEntry entry_;
    std::optional<Linux::FileLock> stateLock_;
    std::optional<Linux::FileLock> runtimeLock_;
};

}  // namespace ZYNE::Client
