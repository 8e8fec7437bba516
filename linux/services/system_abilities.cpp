#include "linux/services/system_abilities.h"

#include <memory>
#include <utility>

#include "linux/base/log_domains.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

constexpr LogDomain LOG = LogDomains::BUS;
constexpr int32_t POOL_PARAM = 0;

}  // namespace

SystemAbilities::SystemAbilities(ThreadPool& pool, DeviceBus& bus)
    : pool_(pool), bus_(bus), keeper_(std::make_shared<ServiceKeeper>(pool, bus)) {}

void SystemAbilities::LoadTable(const std::filesystem::path& file) {
    SystemAbilityTable table = ReadSystemAbilityTable(file);
    const MutexLock lock(mutex_);
    table_ = std::move(table);
}

std::vector<BusService> SystemAbilities::GetServices() const {
    std::vector<BusService> services;
    const MutexLock lock(mutex_);
    for (const auto& [id, entry] : table_) {
        if (!entry.service.command.empty()) {
            services.push_back(entry.service);
        }
    }
    return services;
}

void SystemAbilities::AddLocalAbility(int32_t systemAbilityId, const sptr<IRemoteObject>& object) {
    const MutexLock lock(mutex_);
    local_[systemAbilityId] = object;
}

SystemAbilities::Ability SystemAbilities::Find(int32_t systemAbilityId) const {
    const MutexLock lock(mutex_);
    const auto local = local_.find(systemAbilityId);
    if (local != local_.end()) {
        return {local->second, {}, true};
    }
    const auto entry = table_.find(systemAbilityId);
    return entry != table_.end() ? Ability{nullptr, entry->second, true} : Ability();
}

sptr<IRemoteObject> SystemAbilities::CheckSystemAbility(int32_t systemAbilityId) {
    const Ability ability = Find(systemAbilityId);
    const std::shared_ptr<BusClient> client = bus_.GetClient();
    if (ability.local || !ability.known || !client) {
        return ability.local;
    }
    const std::string owner = client->GetNames().GetOwner(ability.entry.service.name);
    return owner.empty() ? nullptr : sptr<IRemoteObject>(client->GetRemote(owner, ability.entry.path));
}

sptr<IRemoteObject> SystemAbilities::GetSystemAbility(int32_t systemAbilityId) {
    sptr<IRemoteObject> running = CheckSystemAbility(systemAbilityId);
    const Ability ability = Find(systemAbilityId);
    return running || !ability.known ? running : Start(systemAbilityId, ability.entry);
}

sptr<IRemoteObject> SystemAbilities::Start(int32_t systemAbilityId, const SystemAbilityEntry& entry) {
    const std::shared_ptr<BusClient> client = bus_.GetClient();
    const std::string& name = entry.service.name;
    std::string error = "the bus is not up";
    const std::string owner = client ? client->StartService(name, error) : std::string();
    if (owner.empty()) {
        LogPrint(LogType::CORE, LogLevel::ERROR, LOG,
            "system ability %{public}d (%{public}s) did not start: %{public}s", systemAbilityId, name, error);
        return nullptr;
    }
    const sptr<RemoteObject> remote = client->GetRemote(owner, entry.path);
    keeper_->Keep(name, remote);
    return remote;
}

int32_t SystemAbilities::LoadSystemAbility(int32_t systemAbilityId, const sptr<ISystemAbilityLoadCallback>& callback) {
    if (!callback) {
        return NO_CALLBACK;
    }
    if (!Find(systemAbilityId).known) {
        return UNKNOWN_ABILITY;
    }
    const bool posted = pool_.AddAsynTask([self = sptr<SystemAbilities>(this), systemAbilityId,
                                              callback] { self->LoadAndTell(systemAbilityId, callback); },
        POOL_PARAM);
    return posted ? 0 : NO_THREAD;
}

void SystemAbilities::LoadAndTell(int32_t systemAbilityId, const sptr<ISystemAbilityLoadCallback>& callback) {
    const sptr<IRemoteObject> object = GetSystemAbility(systemAbilityId);
    if (object) {
        callback->OnLoadSystemAbilitySuccess(systemAbilityId, object);
    } else {
        callback->OnLoadSystemAbilityFail(systemAbilityId);
    }
}

}  // namespace ZYNE::Linux
