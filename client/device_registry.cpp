#include "client/device_registry.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace ZYNE::Client {
namespace {

namespace fs = std::filesystem;

constexpr mode_t OWN_DIRECTORY = 0700;
constexpr const char* LOCK_FILE = "device.lock";
constexpr const char* STATE_LINK = "state";
constexpr const char* RUNTIME_LINK = "run";
constexpr const char* ADDRESS_FILE = "address";

fs::path Registry() {
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    return runtime != nullptr && *runtime == '/' ? fs::path(runtime) / "collaborationfwk"
                                                 : fs::path("/tmp/collaborationfwk-" + std::to_string(geteuid()));
}

// In /tmp anybody may have been there first.
void CheckOwnDirectory(const fs::path& directory) {
    struct stat status {};
    if (lstat(directory.c_str(), &status) != 0) {
        throw RegistryError(directory.string() + ": " + std::strerror(errno));
    }
    if (!S_ISDIR(status.st_mode)) {
        throw RegistryError(directory.string() + " is not a directory");
    }
    if (status.st_uid != geteuid()) {
        throw RegistryError(directory.string() + " belongs to another user");
    }
    if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        throw RegistryError(directory.string() + " is open to other users: its mode must be 0700");
    }
}

// Nothing when no device has run yet: who only looks leaves nothing behind.
std::optional<fs::path> FindDevicesDirectory() {
    const fs::path registry = Registry();
    for (const fs::path& directory : {registry, registry / "devices"}) {
        std::error_code ignored;
        if (fs::symlink_status(directory, ignored).type() == fs::file_type::not_found) {
            return std::nullopt;
        }
        CheckOwnDirectory(directory);
    }
    return registry / "devices";
}

fs::path DevicesDirectory() {
    const fs::path registry = Registry();
    EnsureOwnDirectory(registry);
    EnsureOwnDirectory(registry / "devices");
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
    entry.running = FileLock::IsHeldBySomebody(runtimeDirectory / LOCK_FILE);
    return entry;
}

void ReplaceLink(const fs::path& link, const fs::path& target) {
    fs::remove(link);
    fs::create_symlink(target, link);
}

FileLock TakeLock(const fs::path& directory, const std::string& what) {
    FileLock lock(directory / LOCK_FILE);
    if (!lock.IsHeld()) {
        throw RegistryError(what + " (process " + FileLock::Holder(directory / LOCK_FILE) + ")");
    }
    return lock;
}

}  // namespace

void EnsureOwnDirectory(const fs::path& directory) {
    if (mkdir(directory.c_str(), OWN_DIRECTORY) != 0 && errno != EEXIST) {
        throw RegistryError(directory.string() + ": cannot be created: " + std::strerror(errno));
    }
    CheckOwnDirectory(directory);
}

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
    // The name may have gone to a device with another state directory since.
    entry.running = entry.running && fs::equivalent(entry.stateDirectory, directory, error);
    entry.stateDirectory = directory;
    return entry;
}

DeviceRegistration::DeviceRegistration(const std::string& name, const fs::path& stateDirectory)
    : entry_{name, DevicesDirectory() / name, stateDirectory, "", true} {
    try {
        stateLock_.emplace(
            TakeLock(stateDirectory, "a device with the state directory " + stateDirectory.string() + " runs already"));
        EnsureOwnDirectory(entry_.runtimeDirectory);
        runtimeLock_.emplace(TakeLock(entry_.runtimeDirectory, "a device named \"" + name + "\" runs already"));
        fs::remove(entry_.runtimeDirectory / ADDRESS_FILE);  // of a device that was killed
        ReplaceLink(entry_.runtimeDirectory / STATE_LINK, stateDirectory);
        ReplaceLink(stateDirectory / RUNTIME_LINK, entry_.runtimeDirectory);
    } catch (const std::system_error& error) {
        throw RegistryError(error.what());
    }
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
