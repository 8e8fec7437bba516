#include "linux/bus/caller_identity.h"

#include <chrono>
#include <fstream>
#include <string_view>

#include "linux/bus/bus_names.h"
#include "platform/ipc/remote_object.h"

namespace ZYNE::Linux {
namespace {

constexpr std::chrono::seconds QUESTION_TIME{5};

// a{sv}: facts about the process by name; those that are not needed are skipped.
int ReadCredentials(sd_bus_message* message, IPCContext& context) {
    int result = sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "{sv}");
    while (result >= 0 && (result = sd_bus_message_enter_container(message, SD_BUS_TYPE_DICT_ENTRY, "sv")) > 0) {
        const char* key = nullptr;
        uint32_t value = 0;
        result = sd_bus_message_read(message, "s", &key);
        if (result >= 0 && std::string_view(key) == "ProcessID") {
            result = sd_bus_message_read(message, "v", "u", &value);
            context.callingPid = static_cast<int32_t>(value);
        } else if (result >= 0 && std::string_view(key) == "UnixUserID") {
            result = sd_bus_message_read(message, "v", "u", &value);
            context.callingUid = static_cast<int32_t>(value);
        } else if (result >= 0) {
            result = sd_bus_message_skip(message, "v");
        }
        if (result >= 0) {
            result = sd_bus_message_exit_container(message);
        }
    }
    return result;
}

// 0 when there is no such process.
int32_t ParentOf(int32_t process) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    std::string word;
    int32_t parent = 0;
    while (status >> word) {
        if (word == "PPid:") {
            status >> parent;
            return parent;
        }
    }
    return 0;
}

}  // namespace

bool CallerIdentity::Find(const std::string& uniqueName, IPCContext& context) {
    {
        const MutexLock lock(mutex_);
        const auto found = known_.find(uniqueName);
        if (found != known_.end()) {
            context = found->second;
            return true;
        }
    }
    const int result = caller_.Call(
        BusDaemonMethod("GetConnectionCredentials"), QUESTION_TIME,
        [&](sd_bus_message* message) { return sd_bus_message_append(message, "s", uniqueName.c_str()); },
        [&](sd_bus_message* message) { return ReadCredentials(message, context); });
    if (result != IRemoteObject::OK) {
        return false;
    }
    const MutexLock lock(mutex_);
    if (known_.size() >= MAX_KNOWN) {
        known_.clear();
    }
    known_[uniqueName] = context;
    return true;
}

bool CallerIdentity::IsDevice(const std::string& uniqueName) {
    IPCContext bus;
    IPCContext caller;
    return Find(MessageBus::NAME, bus) && Find(uniqueName, caller) && caller.callingPid > 0 &&
        caller.callingPid == ParentOf(bus.callingPid);
}

}  // namespace ZYNE::Linux
