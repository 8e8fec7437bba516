#include "linux/bus/bus_client.h"

#include <chrono>
#include <utility>
#include <vector>

#include "linux/base/log_domains.h"
#include "linux/bus/bus_address.h"
#include "linux/bus/listener_object.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

using namespace std::chrono_literals;

constexpr LogDomain LOG = LogDomains::BUS;
constexpr auto QUESTION_TIME = 5s;    // for a question to the bus itself
constexpr auto START_TIME = 60s;      // the bus gives up on a service earlier, by its own limit
constexpr auto APPEARANCE_TIME = 1s;  // between a service's start and our being told of its name

}  // namespace

BusClient::BusClient(EventLoop& loop, const std::string& address, Post post, std::function<void()> lost)
    : post_(std::move(post)), caller_(std::make_shared<BusCaller>(address)),
      lines_(std::make_shared<DirectLines>(caller_)), connection_(BusConnection::Make(loop, OpenBus(address))),
      names_(connection_, {[this](const std::string& uniqueName) { OnGone(uniqueName); }, std::move(lost)}) {}

BusClient::~BusClient() {
    Close();
}

void BusClient::Close() {
    names_.Stop();
    connection_->Close();
    caller_->Close();
    lines_->Close();
}

sptr<RemoteObject> BusClient::GetRemote(const std::string& uniqueName, const std::string& path) {
    return GetObject(Key(uniqueName, path, false));
}

sptr<RemoteObject> BusClient::GetListener(const std::string& uniqueName, const std::string& path) {
    return GetObject(Key(uniqueName, path, true));
}

sptr<RemoteObject> BusClient::GetObject(const Key& key) {
    const std::string& uniqueName = std::get<0>(key);
    sptr<RemoteObject> remote = FindOrMake(key);
    // From here on OnGone finds the object, so a process that is on the bus now will be reported when it leaves. One so
    // new that its arrival has not been reported yet is asked for.
    if (!names_.IsAlive(uniqueName) && !IsOnBus(uniqueName)) {
        OnGone(uniqueName);
    }
    return remote;
}

sptr<RemoteObject> BusClient::FindOrMake(const Key& key) {
    const MutexLock lock(mutex_);
    wptr<RemoteObject>& known = remotes_[key];
    sptr<RemoteObject> remote = known.promote();
    if (!remote || remote->IsDead()) {
        remote = Make(key);
        known = wptr<RemoteObject>(remote);
    }
    return remote;
}

sptr<RemoteObject> BusClient::Make(const Key& key) const {
    const auto& [uniqueName, path, isListener] = key;
    if (!isListener) {
        return sptr<RemoteObject>(new RemoteObject(caller_, post_, uniqueName, path, lines_));
    }
    const auto dropped = [name = uniqueName] {
        LogPrint(LogType::CORE, LogLevel::WARN, LOG,
            "the program %{public}s listens and does not answer: it is told nothing more until it registers anew",
            name);
    };
    return sptr<RemoteObject>(new ListenerObject(caller_, post_, uniqueName, path, dropped, lines_));
}

bool BusClient::IsOnBus(const std::string& uniqueName) {
    int there = 0;
    const int result = caller_->Call(
        BusDaemonMethod("NameHasOwner"), QUESTION_TIME,
        [&](sd_bus_message* message) { return sd_bus_message_append(message, "s", uniqueName.c_str()); },
        [&](sd_bus_message* message) { return sd_bus_message_read(message, "b", &there); });
    return result == IRemoteObject::OK && there != 0;
}

std::string BusClient::StartService(const std::string& name, std::string& error) {
    const int result = caller_->Call(
        BusDaemonMethod("StartServiceByName"), START_TIME,
        [&](sd_bus_message* message) { return sd_bus_message_append(message, "su", name.c_str(), 0u); },
        [](sd_bus_message*) { return 0; }, &error);
    if (result != IRemoteObject::OK) {
        return {};
    }
    std::string owner = AskOwner(name);
    if (owner.empty() || !names_.WaitForOwner(name, owner, APPEARANCE_TIME)) {
        error = "it ended right after its start";
        return {};
    }
    return owner;
}

std::string BusClient::AskOwner(const std::string& name) {
    std::string owner;
    caller_->Call(
        BusDaemonMethod("GetNameOwner"), QUESTION_TIME,
        [&](sd_bus_message* message) { return sd_bus_message_append(message, "s", name.c_str()); },
        [&](sd_bus_message* message) {
            const char* text = nullptr;
            const int result = sd_bus_message_read(message, "s", &text);
            owner = result > 0 ? text : "";
            return result;
        });
    return owner;
}

ProcessHandle BusClient::FindProcess(const std::string& uniqueName) {
    uint32_t pid = 0;
    caller_->Call(
        BusDaemonMethod("GetConnectionUnixProcessID"), QUESTION_TIME,
        [&](sd_bus_message* message) { return sd_bus_message_append(message, "s", uniqueName.c_str()); },
        [&](sd_bus_message* message) { return sd_bus_message_read(message, "u", &pid); });
    return ProcessHandle(static_cast<int32_t>(pid));
}

void BusClient::OnGone(const std::string& uniqueName) {
    lines_->Forget(uniqueName);
    std::vector<sptr<RemoteObject>> gone;
    {
        const MutexLock lock(mutex_);
        auto at = remotes_.lower_bound(Key(uniqueName, "", false));
        while (at != remotes_.end() && std::get<0>(at->first) == uniqueName) {
            if (sptr<RemoteObject> remote = at->second.promote()) {
                gone.push_back(std::move(remote));
            }
            at = remotes_.erase(at);
        }
    }
    for (const sptr<RemoteObject>& remote : gone) {
        remote->Die();
    }
}

}  // namespace ZYNE::Linux
