#include "client/device_registry.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <system_error>
#include <unistd.h>

#include "linux/base/own_directory.h"

namespace ZYNE::Client {
namespace {

namespace fs = std::filesystem;

constexpr const char* LOCK_FILE = "device.lock";
constexpr const char* STATE_LINK = "state";
constexpr const char* RUNTIME_LINK = "run";
constexpr const char* ADDRESS_FILE = "address";

fs::path Registry() {
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    return runtime != nullptr && *runtime == '/' ? fs::path(runtime) / "collaborationfwk"
                                                 : fs::path("/tmp/collaborationfwk-" + std::to_string(geteuid()));
}

// Turns what `use` throws into a RegistryError.
void AsRegistryError(const std::function<void()>& use) {
    try {
        use();
    } catch (const std::runtime_error& error) {
        throw RegistryError(error.what());
    }
}

// Nothing when no device has run yet: looking must not create anything.
std::optional<fs::path> FindDevicesDirectory() {
    const fs::path registry = Registry();
    for (const fs::path& directory : {registry, registry / "devices"}) {
        std::error_code ignored;
        if (fs::symlink_status(directory, ignored).type() == fs::file_type::not_found) {
            return std::nullopt;
        }
        AsRegistryError([&] { Linux::CheckOwnDirectory(directory); });
    }
    return registry / "devices";
}

fs::path DevicesDirectory() {
    const fs::path registry = Registry();
    for (const fs::path& directory : {registry, registry / "devices"}) {
        AsRegistryError([&] { Linux::EnsureOwnDirectory(directory); });
    }
    return registry / "devices";
}

// Empty when the process that wrote it is gone: the next one takes the lock before it can remove the file.
std::string ReadAddress(const fs::path& file) {
    std::error_code ignored;
    if (!fs::is_regular_file(file, ignored)) {
        return {};  // opening a pipe would wait for its other end
    }
    pid_t process = 0;
    std::string address;
    std::ifstream stream(file);
    return stream >> process >> address && kill(process, 0) == 0 ? address : std::string();
}

DeviceEntry ReadEntry(const fs::path& runtimeDirectory) {
    std::error_code ignored;
    DeviceEntry entry;
    entry.name = runtimeDirectory.filename();
    entry.runtimeDirectory = runtimeDirectory;
    entry.stateDirectory = fs::read_symlink(runtimeDirectory / STATE_LINK, ignored);
    entry.busAddress = ReadAddress(runtimeDirectory / ADDRESS_FILE);
    entry.running = Linux::FileLock::IsHeldBySomebody(runtimeDirectory / LOCK_FILE);
    return entry;
}

void ReplaceLink(const fs::path& link, const fs::path& target) {
    fs::remove(link);
    fs::create_symlink(target, link);
}

Linux::FileLock TakeLock(const fs::path& directory, const std::string& what) {
    Linux::FileLock lock(directory / LOCK_FILE);
    if (!lock.IsHeld()) {
        throw RegistryError(what + " (process " + Linux::FileLock::Holder(directory / LOCK_FILE) + ")");
    }
    return lock;
}

}  // namespace

std::vector<DeviceEntry> ListDevices() {
    std::vector<DeviceEntry> devices;
    const auto directory = FindDevicesDirectory();
    for (const fs::directory_entry& entry : directory ? fs::directory_iterator(*directory) : fs::directory_iterator()) {
        devices.push_back(ReadEntry(entry.path()));
    }
    std::ranges::sort(devices, {}, &DeviceEntry::name);
    return devices;
}

std::optional<DeviceEntry> FindDevice(const std::string& name) {
    const auto devices = ListDevices();
    const auto found = std::ranges::find(devices, name, &DeviceEntry::name);
    return found == devices.end() ? std::nullopt : std::optional(*found);
}

std::optional<DeviceEntry> FindDeviceByDirectory(const fs::path& directory) {
    std::error_code error;
    const fs::path runtimeDirectory = fs::read_symlink(directory / RUNTIME_LINK, error);
    if (error) {
        return std::nullopt;
    }
    DeviceEntry entry = ReadEntry(runtimeDirectory);
    // The name may now belong to a device with another state directory.
    entry.running = entry.running && fs::equivalent(entry.stateDirectory, directory, error);
    entry.stateDirectory = directory;
    return entry;
}

DeviceRegistration::DeviceRegistration(const std::string& name, const fs::path& stateDirectory)
    : entry_{name, DevicesDirectory() / name, stateDirectory, "", true} {
    AsRegistryError([&] {
        stateLock_.emplace(
            TakeLock(stateDirectory, "a device with the state directory " + stateDirectory.string() + " runs already"));
        Linux::EnsureOwnDirectory(entry_.runtimeDirectory);
        runtimeLock_.emplace(TakeLock(entry_.runtimeDirectory, "a device named \"" + name + "\" runs already"));
        fs::remove(entry_.runtimeDirectory / ADDRESS_FILE);  // of a device that was killed
        ReplaceLink(entry_.runtimeDirectory / STATE_LINK, stateDirectory);
        ReplaceLink(stateDirectory / RUNTIME_LINK, entry_.runtimeDirectory);
    });
}

void DeviceRegistration::Announce(const std::string& busAddress) {
    // Renamed into place, so that nobody reads half of it.
    const fs::path written = entry_.runtimeDirectory / "address.new";
    std::ofstream(written) << getpid() << ' ' << busAddress << '\n';
    fs::rename(written, entry_.runtimeDirectory / ADDRESS_FILE);
    entry_.busAddress = busAddress;
}

DeviceRegistration::~DeviceRegistration() {
    std::error_code ignored;
    fs::remove(entry_.stateDirectory / RUNTIME_LINK, ignored);
    fs::remove_all(entry_.runtimeDirectory, ignored);
}

}  // namespace ZYNE::Client
