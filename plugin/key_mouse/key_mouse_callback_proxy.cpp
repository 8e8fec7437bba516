#include "plugin/key_mouse/key_mouse_callback_proxy.h"

#include "plugin/utils/log.h"
#include "plugin/utils/result_codes.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::CFWK_CALLBACK;

constexpr int WAIT_SECONDS = 8;

sptr<IRemoteBroker> MakeProxy(const sptr<IRemoteObject>& remote) {
    return sptr<IRemoteBroker>(MakeSptr<KeyMouseCallbackProxy>(remote));
}

// Makes the proxy known for as long as the library is loaded.
class Registration {
public:
    Registration() { BrokerRegistration::GetInstance().Register(IKeyMouseCallback::DESCRIPTOR, MakeProxy); }
    ~Registration() { BrokerRegistration::GetInstance().Unregister(IKeyMouseCallback::DESCRIPTOR); }
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;
};

const Registration g_registration;

bool IsWritten(bool written, const char* field) {
    if (!written) {
        CFWK_LOGE(LOG, "write %{public}s failed", field);
    }
    return written;
}

}  // namespace

int32_t KeyMouseCallbackProxy::Begin(MessageParcel& data) const {
    if (!Remote()) {
        CFWK_LOGE(LOG, "remote is null");
        return ResultCodes::NO_REMOTE;
    }
    if (!data.WriteInterfaceToken(DESCRIPTOR)) {
        CFWK_LOGE(LOG, "write interface token failed");
        return ResultCodes::TOKEN_NOT_WRITTEN;
    }
    return 0;
}

int32_t KeyMouseCallbackProxy::Send(RequestCode code, MessageParcel& data) const {
    MessageParcel reply;
    MessageOption option(MessageOption::SYNCHRONOUS, WAIT_SECONDS);
    const int32_t result = Remote()->SendRequest(code, data, reply, option);
    if (result != 0) {
        CFWK_LOGE(LOG, "failed to SendRequest, error: %{public}d", result);
    }
    return result;
}

int32_t KeyMouseCallbackProxy::OnDeviceStatusChanged(const KeyMouseSwitchState& state) {
    MessageParcel data;
    if (const int32_t code = Begin(data); code != 0) {
        return code;
    }
    if (!IsWritten(data.WriteString(state.deviceId), "deviceId") ||
        !IsWritten(data.WriteInt32(state.switchStatus), "switchStatus")) {
        return ResultCodes::FIELD_NOT_WRITTEN;
    }
    return Send(DEVICE_STATUS_CHANGED, data);
}

int32_t KeyMouseCallbackProxy::OnDeviceScreenStatusChanged(const KeyMouseScreenStatus& status) {
    MessageParcel data;
    if (const int32_t code = Begin(data); code != 0) {
        return code;
    }
    if (!IsWritten(data.WriteString(status.networkId), "networkId") ||
        !IsWritten(data.WriteInt32(status.screenStatus), "screen status")) {
        return ResultCodes::FIELD_NOT_WRITTEN;
    }
    return Send(DEVICE_SCREEN_STATUS_CHANGED, data);
}

int32_t KeyMouseCallbackProxy::OnKeyboardEvent(const KeyMouseKeyboardEvent& event) {
    MessageParcel data;
    if (const int32_t code = Begin(data); code != 0) {
        return code;
    }
    if (!IsWritten(data.WriteInt32(event.keyCode), "keyCode") ||
        !IsWritten(data.WriteInt32(event.keyAction), "keyAction")) {
        return ResultCodes::FIELD_NOT_WRITTEN;
    }
    return Send(KEYBOARD_EVENT, data);
}

int32_t KeyMouseCallbackProxy::OnMoveToEdgeEvent(const KeyMouseMoveToEdgeEvent& event) {
    MessageParcel data;
    if (const int32_t code = Begin(data); code != 0) {
        return code;
    }
    if (!IsWritten(data.WriteInt32(event.screenId), "screenId") ||
        !IsWritten(data.WriteInt32(event.screenX), "screenX") ||
        !IsWritten(data.WriteInt32(event.screenY), "screenY") ||
        !IsWritten(data.WriteInt32(event.rawDeltaX), "rawDeltaX") ||
        !IsWritten(data.WriteInt32(event.rawDeltaY), "rawDeltaY") ||
        !IsWritten(data.WriteInt32(event.deviceId), "deviceId") ||
        !IsWritten(data.WriteBool(event.isPressedButtons), "isPressedButtons")) {
        return ResultCodes::FIELD_NOT_WRITTEN;
    }
    return Send(MOVE_TO_EDGE_EVENT, data);
}

}  // namespace ZYNE::CollaborationFwk
