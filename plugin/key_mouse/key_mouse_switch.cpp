// The way of a switch that has changed: to the service, to the peers, and from a peer to the clients.
#include "platform/host/device_profile_client.h"
#include "platform/host/global_variables.h"
#include "platform/host/picker_result.h"
#include "plugin/key_mouse/key_mouse_listener_set.h"
#include "plugin/key_mouse/key_mouse_service_manager.h"
#include "plugin/utils/log.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;

}  // namespace

int32_t KeyMouseServiceManager::UpdateEdgeSwitchState(bool state) {
    CFWK_LOGI(LOG, "UpdateEdgeSwitchState %{public}u", state);
    localEdgeSwitchState_ = state;
    StartOrStopKeyMouseService(state);
    const int32_t code = UpdateDeviceProfile(state);
    CFWK_LOGI(LOG,
        "UpdateEdgeSwitchState: deviceId: %{public}s, ServiceName: %{public}s, state: %{public}u, ret: %{public}d",
        PickerResult::StringToAnonymous(GetLocalDeviceUdid()), KEY_MOUSE_EDGE_SERVICE_ID, state, code);
    return code;
}

int32_t KeyMouseServiceManager::UpdateDeviceProfile(bool state) {
    CharacteristicProfile profile;
    profile.SetDeviceId(GetLocalDeviceUdid());
    profile.SetServiceName(KEY_MOUSE_EDGE_SERVICE_ID);
    profile.SetCharacteristicKey(ProfileNames::KEY_MOUSE_CHARACTERISTIC);
    profile.SetCharacteristicValue(state ? "1" : "0");
    return DeviceProfileClient::GetInstance().PutCharacteristicProfile(profile);
}

void KeyMouseServiceManager::onSwitchStatusChanged(const std::string& udid, bool status) {
    KeyMouseSwitchState state;
    state.deviceId = getDeviceNetworkId(udid);
    state.switchStatus = status ? 1 : 0;
    CFWK_LOGI(LOG, "onSwitchStatusChanged networkId: %{public}s, status: %{public}u",
        PickerResult::StringToAnonymous(state.deviceId), status);
    if (state.deviceId.empty()) {
        CFWK_LOGE(LOG, "onSwitchStatusChanged networkId is empty");
        return;
    }
    KeyMouseListenerSet::GetInstance().Send(__func__, GloableVariables::KEY_SWITCH,
        [&](IKeyMouseCallback& client) { client.OnDeviceStatusChanged(state); });
}

}  // namespace ZYNE::CollaborationFwk
