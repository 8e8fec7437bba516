#include "samples/desk_facts/facts.h"

#include <utmpx.h>

#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <system_error>

#include "samples/read_line.h"

namespace Sample {
namespace {

std::string CpuModel() {
    const std::string model = ReadLabelled("/proc/cpuinfo", "model name");
    return model.empty() ? "unknown" : model;
}

std::string LoggedInUsers() {
    static std::mutex mutex;  // requests come on several threads, and the user table has one reading place for all
    const std::scoped_lock lock(mutex);
    int users = 0;
    setutxent();
    while (const utmpx* entry = getutxent()) {
        users += entry->ut_type == USER_PROCESS ? 1 : 0;
    }
    endutxent();
    return std::to_string(users);
}

// As in "Europe/Berlin": where in the collection of time zones the system's own points to.
std::string TimeZone() {
    constexpr std::string_view COLLECTION = "zoneinfo/";
    std::error_code error;
    const std::string zone = std::filesystem::read_symlink("/etc/localtime", error).native();
    const size_t at = zone.find(COLLECTION);
    return at != std::string::npos ? zone.substr(at + COLLECTION.size()) : "UTC";
}

std::string DiskFree() {
    constexpr uintmax_t MEBIBYTE = 1u << 20;
    std::error_code error;
    const std::filesystem::space_info space = std::filesystem::space("/", error);
    return error ? "unknown" : std::to_string(space.available / MEBIBYTE) + " MiB";
}

std::string ConnectedDisplays() {
    int displays = 0;
    std::error_code error;
    for (const auto& output : std::filesystem::directory_iterator("/sys/class/drm", error)) {
        displays += ReadLine(output.path() / "status") == "connected" ? 1 : 0;
    }
    return std::to_string(displays);
}

}  // namespace

std::optional<std::string> ReadFact(const std::string& name) {
    static const std::map<std::string, std::function<std::string()>> facts{
        {"cpuModel", &CpuModel},
        {"loggedInUsers", &LoggedInUsers},
        {"timeZone", &TimeZone},
        {"diskFree", &DiskFree},
        {"connectedDisplays", &ConnectedDisplays},
    };
    const auto fact = facts.find(name);
    return fact != facts.end() ? std::optional(fact->second()) : std::nullopt;
}

}  // namespace Sample
