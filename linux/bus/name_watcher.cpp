#include "linux/bus/name_watcher.h"

#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

#include "linux/base/guarded_call.h"
#include "linux/bus/bus_address.h"
#include "linux/bus/bus_names.h"

namespace ZYNE::Linux {
namespace {

bool IsUnique(const std::string& name) {
    return name.starts_with(':');
}

void Check(int result, const char* what) {
    if (result < 0) {
        throw std::runtime_error(std::string(what) + ": " + std::generic_category().message(-result));
    }
}

std::vector<std::string> ListNames(sd_bus* bus) {
    sd_bus_message* raw = nullptr;
    int result = sd_bus_call_method(
        bus, MessageBus::NAME, MessageBus::PATH, MessageBus::NAME, "ListNames", nullptr, &raw, nullptr);
    const MessageHandle reply(raw);
    if (result >= 0) {
        result = sd_bus_message_enter_container(raw, SD_BUS_TYPE_ARRAY, "s");
    }
    Check(result, "cannot list the names on the bus");
    std::vector<std::string> names;
    const char* name = nullptr;
    while (sd_bus_message_read(raw, "s", &name) > 0) {
        names.emplace_back(name);
    }
    return names;
}

}  // namespace

// Asks for changes first. Those that come while the state is read are handled after it, and lead to what is true then,
// whether or not the state shows them already.
NameWatcher::NameWatcher(const std::shared_ptr<BusConnection>& connection, Callbacks callbacks)
    : callbacks_(std::move(callbacks)), end_(connection->ListenForEnd([this] { OnLost(); })) {
    sd_bus_slot* slot = nullptr;
    const int result = connection->Use([&](sd_bus* bus) {
        const int matched = sd_bus_match_signal(
            bus, &slot, MessageBus::NAME, MessageBus::PATH, MessageBus::NAME, "NameOwnerChanged",
            [](sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
                GuardedCall(
                    "the watch of names", [&] { static_cast<NameWatcher*>(self)->OnNameOwnerChanged(message); });
                return 0;
            },
            this);
        return matched >= 0 ? ReadPresentState(bus) : matched;
    });
    changes_ = BusSlot(connection, slot, nullptr);
    Check(result, "cannot watch the names on the bus");
}

// Throws nothing, so that the watch that has begun is ended by its owner.
int NameWatcher::ReadPresentState(sd_bus* bus) {
    const bool isRead = GuardedCall("reading the names on the bus", [&] {
        for (const std::string& name : ListNames(bus)) {
            Change(name, IsUnique(name) ? name : AskOwner(bus, name.c_str()));
        }
    });
    return isRead ? 0 : -EIO;
}

void NameWatcher::Stop() {
    stopping_ = true;
    changes_.End();
    end_.End();
    const MutexLock lock(mutex_);
    owners_.clear();
    alive_.clear();
    changed_.notify_all();
}

void NameWatcher::OnLost() {
    LoseEveryone();
    if (callbacks_.lost) {
        callbacks_.lost();
    }
}

void NameWatcher::OnNameOwnerChanged(sd_bus_message* message) {
    const char* name = nullptr;
    const char* before = nullptr;
    const char* owner = nullptr;
    if (sd_bus_message_read(message, "sss", &name, &before, &owner) > 0) {
        Change(name, owner);
    }
}

void NameWatcher::Change(const std::string& name, const std::string& owner) {
    {
        const MutexLock lock(mutex_);
        if (!IsUnique(name)) {
            if (owner.empty()) {
                owners_.erase(name);
            } else {
                owners_[name] = owner;
            }
        } else if (owner.empty()) {
            alive_.erase(name);
        } else {
            alive_.insert(name);
        }
        changed_.notify_all();
    }
    if (IsUnique(name) && owner.empty() && callbacks_.gone) {
        callbacks_.gone(name);
    }
}

void NameWatcher::LoseEveryone() {
    std::set<std::string> alive;
    {
        const MutexLock lock(mutex_);
        owners_.clear();
        alive.swap(alive_);
        changed_.notify_all();
    }
    for (const std::string& name : alive) {
        if (callbacks_.gone) {
            callbacks_.gone(name);
        }
    }
}

std::string NameWatcher::GetOwner(const std::string& name) const {
    const MutexLock lock(mutex_);
    const auto found = owners_.find(name);
    return found != owners_.end() ? found->second : std::string();
}

bool NameWatcher::IsAlive(const std::string& uniqueName) const {
    const MutexLock lock(mutex_);
    return alive_.contains(uniqueName);
}

bool NameWatcher::WaitForOwner(
    const std::string& name, const std::string& uniqueName, std::chrono::milliseconds timeout) {
    const auto owns = [&]() REQUIRES(mutex_) {
        const auto found = owners_.find(name);
        return found != owners_.end() && found->second == uniqueName;
    };
    MutexLock lock(mutex_);
    changed_.wait_for(lock, timeout, [&]() REQUIRES(mutex_) { return owns() || stopping_; });
    return owns();
}

bool NameWatcher::WaitUntilGone(const std::string& uniqueName, std::chrono::milliseconds timeout) {
    MutexLock lock(mutex_);
    return changed_.wait_for(lock, timeout, [&]() REQUIRES(mutex_) { return !alive_.contains(uniqueName); });
}

}  // namespace ZYNE::Linux
