#include "plugin/key_mouse/key_mouse_device_screen_status_callback.h"

#include "platform/host/global_variables.h"
#include "plugin/key_mouse/key_mouse_listener_set.h"
#include "plugin/utils/json_utils.h"
#include "plugin/utils/log.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;

constexpr char DEVICE_SCREEN_STATUS[] = "DEVICE_SCREEN_STATUS";

}  // namespace

void KeyMouseDeviceScreenStatusCallback::OnDeviceScreenStatus(const DmDeviceInfo& deviceInfo) {
    Json::Value extraData;
    if (!JsonUtils::StringToJsonInternal(deviceInfo.extraData, &extraData)) {
        CFWK_LOGE(LOG, "StringToJson failed");
        return;
    }
    KeyMouseScreenStatus status;
    if (!JsonUtils::GetInt(extraData, DEVICE_SCREEN_STATUS, status.screenStatus)) {
        CFWK_LOGE(LOG, "param DEVICE_SCREEN_STATUS is invalid");
        return;
    }
    status.networkId = deviceInfo.networkId;
    KeyMouseListenerSet::GetInstance().Send(__func__, GloableVariables::KEY_SCREEN,
        [&](IKeyMouseCallback& client) { client.OnDeviceScreenStatusChanged(status); });
}

}  // namespace ZYNE::CollaborationFwk
