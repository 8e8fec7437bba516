// The device's side of shared data: the daemon starts it so that its own process and those of apps can use the shared
// data of the device.
//
//     const auto service = MakeSptr<DataShareService>(bus, shares, notes);
//     abilities->AddLocalAbility(DataShareService::SYSTEM_ABILITY_ID, service->AsObject());
//     bus.Start(options);
//     service->Start(stateDirectory / "datashare.db", bundles->GetCatalogue()->GetDataShares());
//     ...
//     service->Stop();
//
// The rows lie in one SQLite file that every process of the device opens by itself. The service only says where it is,
// as the remote object behind SYSTEM_ABILITY_ID and, for processes of apps, under ShareToken::BUS_NAME.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "linux/base/device_notes.h"
#include "linux/base/mutex.h"
#include "linux/bus/local_object.h"
#include "linux/datashare/open_shares.h"
#include "linux/services/device_bus.h"
#include "platform/system_ability/system_ability_ids.h"

namespace ZYNE::Linux {

// Any thread, except where said.
class DataShareService final : public LocalObject {
public:
    static constexpr int32_t SYSTEM_ABILITY_ID = SystemAbilityIds::DEVICE_PROFILE;

    // All of it outlives the use of the service.
    DataShareService(DeviceBus& bus, OpenShares& shares, DeviceNotes& notes);
    DataShareService(const DataShareService&) = delete;
    DataShareService& operator=(const DataShareService&) = delete;

    // How this process comes to a connection to the device's own bus.
    static ShareHost::Connect ConnectTo(DeviceBus& bus);

    // Once the device's bus is up. Makes `databaseFile` if need be and stores in it who provides data: `shares`, as
    // declared in the manifests of apps. Throws std::runtime_error with one line, and has then started nothing.
    void Start(const std::filesystem::path& databaseFile, const std::vector<std::string>& shares);

    // After this nothing that uses shared data in this process succeeds, and no new call of an observer starts; calls
    // that run are not waited for. Before the thread pool is stopped. Not on a thread of an observer. Does nothing when
    // it is not up.
    void Stop();

    sptr<IRemoteObject> AsObject() { return sptr<IRemoteObject>(this); }

    // REFUSED while the service is not up.
    int32_t SendRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;

private:
    struct Running;

    ~DataShareService() override;

    DeviceBus& bus_;
    OpenShares& shares_;
    DeviceNotes& notes_;
    Mutex mutex_;
    std::shared_ptr<Running> running_ GUARDED_BY(mutex_);
};

}  // namespace ZYNE::Linux
