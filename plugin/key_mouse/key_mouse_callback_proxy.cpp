#include "plugin/key_mouse/key_mouse_callback_proxy.h"

#include <string>

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

// One request. What cannot be written is logged by `operation` and ends it: nothing follows, and it is not sent.
class Request {
public:
    Request(const char* operation, const sptr<IRemoteObject>& remote) : operation_(operation), remote_(remote) {
        if (!remote_) {
            Fail(ResultCodes::NO_REMOTE, "remote is null");
        } else if (!data_.WriteInterfaceToken(IKeyMouseCallback::DESCRIPTOR)) {
            Fail(ResultCodes::TOKEN_NOT_WRITTEN, "write interface token failed");
        }
    }

    // Each with the line that says that there is no room for it.
    void Write(const std::string& value, const char* failure) { Check(Fits() && data_.WriteString(value), failure); }
    void Write(int32_t value, const char* failure) { Check(Fits() && data_.WriteInt32(value), failure); }
    void Write(bool value, const char* failure) { Check(Fits() && data_.WriteBool(value), failure); }

    int32_t Send(IKeyMouseCallback::RequestCode code) {
        if (!Fits()) {
            return code_;
        }
        MessageParcel reply;
        MessageOption option(MessageOption::SYNCHRONOUS, WAIT_SECONDS);
        const int32_t result = remote_->SendRequest(code, data_, reply, option);
        if (result != 0) {
            CFWK_LOG_AS(ERROR, LOG, operation_, "failed to SendRequest, error: %{public}d", result);
        }
        return result;
    }

private:
    bool Fits() const { return code_ == 0; }
    void Check(bool isWritten, const char* failure) {
        if (Fits() && !isWritten) {
            Fail(ResultCodes::FIELD_NOT_WRITTEN, failure);
        }
    }
    void Fail(int32_t code, const char* failure) {
        CFWK_LOG_AS(ERROR, LOG, operation_, "%{public}s", failure);
        code_ = code;
    }

    const char* const operation_;
    const sptr<IRemoteObject> remote_;
    MessageParcel data_;
    int32_t code_ = 0;  // of the first failure
};

}  // namespace

int32_t KeyMouseCallbackProxy::OnDeviceStatusChanged(const KeyMouseSwitchState& state) {
    Request request(__func__, Remote());
    request.Write(state.deviceId, "write deviceId failed");
    request.Write(state.switchStatus, "write switchStatus failed");
    return request.Send(DEVICE_STATUS_CHANGED);
}

int32_t KeyMouseCallbackProxy::OnDeviceScreenStatusChanged(const KeyMouseScreenStatus& status) {
    Request request(__func__, Remote());
    request.Write(status.networkId, "write networkId failed");
    request.Write(status.screenStatus, "write screen status failed");
    return request.Send(DEVICE_SCREEN_STATUS_CHANGED);
}

int32_t KeyMouseCallbackProxy::OnKeyboardEvent(const KeyMouseKeyboardEvent& event) {
    Request request(__func__, Remote());
    request.Write(event.keyCode, "write keyCode failed");
    request.Write(event.keyAction, "write keyAction failed");
    return request.Send(KEYBOARD_EVENT);
}

int32_t KeyMouseCallbackProxy::OnMoveToEdgeEvent(const KeyMouseMoveToEdgeEvent& event) {
    Request request(__func__, Remote());
    request.Write(event.screenId, "write screenId failed");
    request.Write(event.screenX, "write screenX failed");
    request.Write(event.screenY, "write screenY failed");
    request.Write(event.rawDeltaX, "write rawDeltaX failed");
    request.Write(event.rawDeltaY, "write rawDeltaY failed");
    request.Write(event.deviceId, "write deviceId failed");
    request.Write(event.isPressedButtons, "write isPressedButtons failed");
    return request.Send(MOVE_TO_EDGE_EVENT);
}

}  // namespace ZYNE::CollaborationFwk
