#include <iostream>
#include <string>

#include <json/value.h>

#include "cli/commands.h"
#include "cli/json_output.h"
#include "client/device_client.h"
#include "platform/log/printable_text.h"

namespace ZYNE::Cli {
namespace {

void Print(const std::string& key, const std::string& value) {
    Json::Value setting(Json::objectValue);
    setting["key"] = key;
    setting["value"] = value;
    PrintJson(setting);
}

Client::DeviceEntry ChooseDeviceOf(const DeviceChoice& choice, int32_t user) {
    const Client::DeviceEntry device = ChooseDevice(choice, false);
    if (user != Client::DeviceClient::ALL_USERS) {
        CheckUser(device, user);
    }
    return device;
}

}  // namespace

int GetSetting(const DeviceChoice& choice, const std::string& key, int32_t user, bool json) {
    Client::DeviceClient device(ChooseDeviceOf(choice, user));
    const std::string value = device.GetSetting(key, user);
    if (json) {
        Print(key, value);
        return 0;
    }
    std::string line;
    AppendPrintable(line, value);
    std::cout << line << '\n';
    return 0;
}

int PutSetting(const DeviceChoice& choice, const std::string& key, const std::string& value, int32_t user, bool json) {
    Client::DeviceClient device(ChooseDeviceOf(choice, user));
    device.PutSetting(key, value, user);
    if (json) {
        Print(key, value);
    }
    return 0;
}

}  // namespace ZYNE::Cli
