// The device's system ability manager: services on the bus, found by number and started on demand, and objects of this
// process.
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "linux/base/mutex.h"
#include "linux/base/thread_pool.h"
#include "linux/services/bus_service.h"
#include "linux/services/device_bus.h"
#include "linux/services/service_keeper.h"
#include "linux/services/system_ability_table.h"
#include "platform/system_ability/system_ability_manager.h"

namespace ZYNE::Linux {

// Any thread.
class SystemAbilities final : public IRemoteStub<ISystemAbilityManager> {
public:
    // What this manager's LoadSystemAbility answers besides 0.
    enum LoadResult : int32_t { UNKNOWN_ABILITY = 1, NO_CALLBACK = 2, NO_THREAD = 3 };

    // Both outlive the use of it.
    SystemAbilities(ThreadPool& pool, DeviceBus& bus);

    // Before the bus is started. Throws std::runtime_error with one line.
    void LoadTable(const std::filesystem::path& file);

    // The services that the bus starts on demand.
    std::vector<BusService> GetServices() const;

    // An ability that is an object of this process. It is there at once, and hides one of the table.
    void AddLocalAbility(int32_t systemAbilityId, const sptr<IRemoteObject>& object);

    // A service that it has started is started again when it dies.
    sptr<IRemoteObject> GetSystemAbility(int32_t systemAbilityId) override;
    sptr<IRemoteObject> CheckSystemAbility(int32_t systemAbilityId) override;
    int32_t LoadSystemAbility(int32_t systemAbilityId, const sptr<ISystemAbilityLoadCallback>& callback) override;

private:
    // What is known about a number: one of the two.
    struct Ability {
        sptr<IRemoteObject> local;
        SystemAbilityEntry entry;
        bool known = false;
    };
    Ability Find(int32_t systemAbilityId) const;
    sptr<IRemoteObject> Start(int32_t systemAbilityId, const SystemAbilityEntry& entry);
    void LoadAndTell(int32_t systemAbilityId, const sptr<ISystemAbilityLoadCallback>& callback);

    ThreadPool& pool_;
    DeviceBus& bus_;
    const std::shared_ptr<ServiceKeeper> keeper_;
    mutable Mutex mutex_;
    SystemAbilityTable table_ GUARDED_BY(mutex_);
    std::map<int32_t, sptr<IRemoteObject>> local_ GUARDED_BY(mutex_);
};

}  // namespace ZYNE::Linux
