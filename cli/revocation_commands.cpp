// What takes the trust in a device away, and tells the devices that run here.
#include <iostream>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "client/device_client.h"
#include "linux/account/account.h"
#include "platform/log/printable_text.h"

namespace ZYNE::Cli {
namespace {

std::vector<Client::DeviceEntry> ChosenDevices(const DeviceChoice& choice) {
    if (!choice.name.empty() || !choice.directory.empty()) {
        return {ChooseDevice(choice, false)};
    }
    std::vector<Client::DeviceEntry> devices = Client::ListDevices();
    std::erase_if(devices, [](const Client::DeviceEntry& device) { return !device.running; });
    return devices;
}

void PrintLine(const std::string& device, const std::string& what) {
    std::string line;
    AppendPrintable(line, device + ": " + what);
    std::cout << line << '\n';
}

// Whether the device has the list now.
bool HandOver(const Client::DeviceEntry& device, const std::string& document) {
    try {
        const bool isNews = Client::DeviceClient(device).TakeRevocations(document);
        PrintLine(device.name, isNews ? "has taken the list" : "knew it already");
        return true;
    } catch (const Client::DeviceError& error) {
        PrintLine(device.name, std::string("has not taken the list: ") + error.what());
        return false;
    }
}

// Whether any device has the list now.
bool HandOverToAll(const std::vector<Client::DeviceEntry>& devices, const std::string& document) {
    bool isKnown = false;
    for (const Client::DeviceEntry& device : devices) {
        isKnown = HandOver(device, document) || isKnown;
    }
    return isKnown;
}

}  // namespace

int RevokeDevice(const DeviceChoice& choice, const std::string& account, const std::string& udid) {
    const std::vector<Client::DeviceEntry> devices = ChosenDevices(choice);
    Linux::RevokeDevice(account, udid);
    std::cout << "The device is revoked.\n";
    if (!HandOverToAll(devices, Linux::RevocationDocument(account))) {
        std::cout << "No device of the account knows of it yet. Where one runs, hand the list over with\n"
                     "collabctl account publish "
                  << account << "; it tells the others.\n";
    }
    return 0;
}

int PublishRevocations(const DeviceChoice& choice, const std::string& account) {
    const std::string document = Linux::RevocationDocument(account);
    if (document.empty()) {
        throw CommandError("the account has revoked no device");
    }
    const std::vector<Client::DeviceEntry> devices = ChosenDevices(choice);
    if (devices.empty()) {
        throw CommandError("no device is running: start one with collabd --config FILE");
    }
    return HandOverToAll(devices, document) ? 0 : 1;
}

}  // namespace ZYNE::Cli
