#include "samples/system_info/facts.h"

#include <sys/utsname.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <system_error>

#include "samples/read_line.h"

namespace Sample {
namespace {

Json::Value Hostname() {
    return ReadLine("/proc/sys/kernel/hostname");
}

Json::Value Kernel() {
    utsname name{};
    uname(&name);
    return name.release;
}

Json::Value Uptime() {
    const long minutes = std::strtol(ReadLine("/proc/uptime").c_str(), nullptr, 10) / 60;
    return std::to_string(minutes / 60) + " h " + std::to_string(minutes % 60) + " min";
}

Json::Value LoadAverage() {
    std::istringstream line(ReadLine("/proc/loadavg"));
    std::string one, five, fifteen;
    line >> one >> five >> fifteen;
    return one + " " + five + " " + fifteen;
}

Json::Value FreeMemory() {
    const std::string kibibytes = ReadLabelled("/proc/meminfo", "MemAvailable");
    return std::to_string(std::strtol(kibibytes.c_str(), nullptr, 10) / 1024) + " MiB";
}

// The folder of the first battery; empty when there is none.
std::filesystem::path Battery() {
    std::error_code error;
    for (const auto& supply : std::filesystem::directory_iterator("/sys/class/power_supply", error)) {
        if (ReadLine(supply.path() / "type") == "Battery") {
            return supply.path();
        }
    }
    return {};
}

bool IsOnBattery() {
    const std::filesystem::path battery = Battery();
    return !battery.empty() && ReadLine(battery / "status") == "Discharging";
}

Json::Value PowerSource() {
    return IsOnBattery() ? "battery" : "mains";
}

Json::Value BatteryLevel() {
    const std::filesystem::path battery = Battery();
    return battery.empty() ? "no battery" : ReadLine(battery / "capacity") + " %";
}

}  // namespace

const std::map<std::string, std::function<Json::Value()>>& Facts() {
    static const std::map<std::string, std::function<Json::Value()>> facts{
        {"hostname", &Hostname},
        {"kernel", &Kernel},
        {"uptime", &Uptime},
        {"loadAverage", &LoadAverage},
        {"freeMemory", &FreeMemory},
        {"powerSource", &PowerSource},
        {"batteryLevel", &BatteryLevel},
        {"onBattery",
            [] {
                return Json::Value(IsOnBattery());
            }},
    };
    return facts;
}

}  // namespace Sample
