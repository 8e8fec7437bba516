#include "cli/command.h"

#include <filesystem>
#include <optional>

namespace ZYNE::Cli {
namespace {

std::string Quoted(const std::string& text) {
    return '"' + text + '"';
}

std::vector<Client::DeviceEntry> RunningDevices() {
    std::vector<Client::DeviceEntry> devices = Client::ListDevices();
    std::erase_if(devices, [](const Client::DeviceEntry& device) { return !device.running; });
    return devices;
}

std::string Names(const std::vector<Client::DeviceEntry>& devices) {
    std::string names;
    for (const Client::DeviceEntry& device : devices) {
        names += (names.empty() ? "" : ", ") + Quoted(device.name);
    }
    return names;
}

Client::DeviceEntry OnlyDevice() {
    const std::vector<Client::DeviceEntry> running = RunningDevices();
    if (running.empty()) {
        throw CommandError("no device is running: start one with collabd --config FILE");
    }
    if (running.size() > 1) {
        throw CommandError("several devices are running, choose one with --device: " + Names(running));
    }
    return running.front();
}

Client::DeviceEntry DeviceByName(const std::string& name, bool mayHaveEnded) {
    const auto device = Client::FindDevice(name);
    if (device && (device->running || mayHaveEnded)) {
        return *device;
    }
    const std::vector<Client::DeviceEntry> running = RunningDevices();
    throw CommandError("no device named " + Quoted(name) + " is running" +
        (running.empty() ? std::string() : "; running: " + Names(running)));
}

Client::DeviceEntry DeviceByDirectory(const std::string& directory, bool mayHaveEnded) {
    if (!std::filesystem::is_directory(directory)) {
        throw CommandError(directory + " is not a directory");
    }
    const std::filesystem::path path = std::filesystem::canonical(directory);
    const auto device = Client::FindDeviceByDirectory(path);
    if (device && (device->running || mayHaveEnded)) {
        return *device;
    }
    if (mayHaveEnded) {
        Client::DeviceEntry ended;
        ended.stateDirectory = path;
        return ended;
    }
    throw CommandError("no device with the state directory " + directory + " is running");
}

}  // namespace

Client::DeviceEntry ChooseDevice(const DeviceChoice& choice, bool mayHaveEnded) {
    if (!choice.directory.empty()) {
        return DeviceByDirectory(choice.directory, mayHaveEnded);
    }
    return choice.name.empty() ? OnlyDevice() : DeviceByName(choice.name, mayHaveEnded);
}

}  // namespace ZYNE::Cli
