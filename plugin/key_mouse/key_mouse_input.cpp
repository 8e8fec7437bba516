// Clients, and what is relayed to them: keys, the pointer's arrival at an edge; and their requests.
#include <utility>

#include "platform/display/display_manager.h"
#include "platform/host/global_variables.h"
#include "platform/input/input_manager.h"
#include "platform/interaction/interaction_manager.h"
#include "plugin/key_mouse/key_mouse_listener_set.h"
#include "plugin/key_mouse/key_mouse_rules.h"
#include "plugin/key_mouse/key_mouse_service_manager.h"
#include "plugin/utils/json_utils.h"
#include "plugin/utils/log.h"
#include "plugin/utils/result_codes.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;
constexpr LogDomain LISTENER_LOG = LogDomains::DEVICE_DETECT;

constexpr int32_t NO_MONITOR = -1;

// With the monitors' lock held: the input manager neither calls a monitor inline nor waits for one.
void RemoveMonitor(int32_t& monitorId) {
    if (monitorId >= 0) {
        InputManager::GetInstance()->RemoveMonitor(std::exchange(monitorId, NO_MONITOR));
    }
}

std::string MakeResult(int32_t code) {
    Json::Value result(Json::objectValue);
    result[GloableVariables::PARAM_RESULT] = code;
    Json::StreamWriterBuilder compact;
    compact["indentation"] = "";
    return Json::writeString(compact, result);
}

}  // namespace

void KeyMouseServiceManager::AddKeyMouseEventListener(
    const std::string& type, int32_t pid, const sptr<IRemoteObject>& callback) {
    CFWK_LOGI(LISTENER_LOG, "AddListener. pid: %{public}d, type: %{public}s", pid, type);
    if (const auto listener = KeyMouseListenerSet::GetInstance().GetListener(type)) {
        listener->On(pid, callback);
    }
}

void KeyMouseServiceManager::RemoveKeyMouseEventListener(const std::string& type, int32_t pid) {
    CFWK_LOGI(LISTENER_LOG, "RemoveListener. pid: %{public}d, type: %{public}s", pid, type);
    if (const auto listener = KeyMouseListenerSet::GetInstance().GetListener(type)) {
        listener->Off(pid);
    }
}

// Monitors are added with the lock held, so that no second one is added meanwhile; the port never calls one inline.
int32_t KeyMouseServiceManager::AddKeyMonitor() {
    std::lock_guard lock(monitorMutex_);
    if (keyMonitorId_ < 0) {
        keyMonitorId_ = InputManager::GetInstance()->AddMonitor(
            InputManager::KeyMonitor([this](std::shared_ptr<KeyEvent> event) { OnKeyEvent(std::move(event)); }));
    }
    return keyMonitorId_;
}

int32_t KeyMouseServiceManager::AddMouseMonitor() {
    CFWK_LOGI(LOG, "start");
    std::lock_guard lock(monitorMutex_);
    if (mouseMonitorId_ >= 0) {
        return mouseMonitorId_;
    }
    if (const sptr<Display> display = DisplayManager::GetInstance().GetDefaultDisplay()) {
        CFWK_LOGI(LOG, "default.");
        CacheDisplay(*display);
    }
    mouseMonitorId_ = InputManager::GetInstance()->AddMonitor(
        InputManager::PointerMonitor([this](std::shared_ptr<PointerEvent> event) { OnMouseEvent(std::move(event)); }));
    return mouseMonitorId_;
}

void KeyMouseServiceManager::RemoveKeyMonitor() {
    std::lock_guard lock(monitorMutex_);
    RemoveMonitor(keyMonitorId_);
}

void KeyMouseServiceManager::RemoveMouseMonitor() {
    std::lock_guard lock(monitorMutex_);
    RemoveMonitor(mouseMonitorId_);
}

int32_t KeyMouseServiceManager::OnKeyEvent(std::shared_ptr<KeyEvent> event) {
    if (!event) {
        return ResultCodes::INVALID_PARAMETER;
    }
    KeyMouseKeyboardEvent record;
    record.keyCode = event->GetKeyCode();
    record.keyAction = event->GetKeyAction();
    KeyMouseListenerSet::GetInstance().Send(
        __func__, GloableVariables::KEY_KEYBOARD, [&](IKeyMouseCallback& client) { client.OnKeyboardEvent(record); });
    return 0;
}

void KeyMouseServiceManager::OnMouseEvent(std::shared_ptr<PointerEvent> event) {
    PointerItem item;
    if (!event || !event->GetPointerItem(event->GetPointerId(), item)) {
        CFWK_LOGE(LOG, "Can't find this pointerItem");
        return;
    }
    const int32_t displayId = event->GetTargetDisplayId();
    const std::optional<DisplaySize> size = GetDisplaySize(__func__, displayId);
    if (!size) {
        return;
    }
    const bool isAtEdge = KeyMouseRules::IsAtEdge(item.GetDisplayX(), item.GetDisplayY(), size->width, size->height);
    // Stored before anything is sent: what comes in while a slow client is told is not a second arrival.
    const bool wasAtEdge = isAtEdge_.exchange(isAtEdge);
    if (!isAtEdge || wasAtEdge) {
        return;
    }
    KeyMouseMoveToEdgeEvent record;
    record.screenId = displayId;
    record.screenX = item.GetDisplayX();
    record.screenY = item.GetDisplayY();
    record.rawDeltaX = item.GetRawDx();
    record.rawDeltaY = item.GetRawDy();
    record.deviceId = item.GetDeviceId();
    record.isPressedButtons = !event->GetPressedButtons().empty();
    OnMoveToEdgeEvent(record);
}

std::optional<KeyMouseServiceManager::DisplaySize> KeyMouseServiceManager::GetDisplaySize(
    const char* operation, int32_t displayId) {
    if (displayId < 0) {
        CFWK_LOG_AS(ERROR, LOG, operation, "invalid targetDisplayId: %{public}d", displayId);
        return std::nullopt;
    }
    const auto wanted = static_cast<uint64_t>(displayId);
    {
        std::lock_guard lock(displayMutex_);
        if (displayId_ == wanted) {
            return DisplaySize{displayWidth_, displayHeight_};
        }
    }
    const sptr<Display> display = DisplayManager::GetInstance().GetDisplayById(wanted);
    if (!display) {
        CFWK_LOG_AS(ERROR, LOG, operation, "targetDisplay is nullptr");
        return std::nullopt;
    }
    return CacheDisplay(*display);
}

KeyMouseServiceManager::DisplaySize KeyMouseServiceManager::CacheDisplay(const Display& display) {
    std::lock_guard lock(displayMutex_);
    displayId_ = display.GetId();
    displayWidth_ = display.GetWidth();
    displayHeight_ = display.GetHeight();
    return {displayWidth_, displayHeight_};
}

int32_t KeyMouseServiceManager::OnMoveToEdgeEvent(const KeyMouseMoveToEdgeEvent& event) {
    KeyMouseListenerSet::GetInstance().Send(__func__, GloableVariables::KEY_MOVE_TO_EDGE,
        [&](IKeyMouseCallback& client) { client.OnMoveToEdgeEvent(event); });
    return 0;
}

int32_t KeyMouseServiceManager::ProcessKeyMouseRequest(const std::string& request, std::string& result) {
    Json::Value parsed;
    if (!JsonUtils::StringToJsonInternal(request, &parsed) || !parsed.isObject()) {
        CFWK_LOGE(LOG, "StringToJson failed");
        return ResultCodes::INVALID_PARAMETER;
    }
    std::string action;
    if (!JsonUtils::GetString(parsed, GloableVariables::PARAM_ACTION, action)) {
        CFWK_LOGE(LOG, "param action is invalid");
        return ResultCodes::INVALID_PARAMETER;
    }
    const auto handler = eventHandlers_.find(action);
    return handler != eventHandlers_.end() ? (this->*handler->second)(parsed, result) : ResultCodes::UNKNOWN_ACTION;
}

int32_t KeyMouseServiceManager::OnKeyMouseEvent(Json::Value& request, std::string& result) {
    int32_t event = 0;
    if (!JsonUtils::GetInt(request, GloableVariables::PARAM_EVENT, event)) {
        CFWK_LOGE(LOG, "param OnKeyMouseEvent is invalid");
        return ResultCodes::INVALID_PARAMETER;
    }
    CFWK_LOGI(LOG, "receive event: %{public}d", event);
    int32_t code = ResultCodes::UNKNOWN_EVENT;
    if (event == 1 || event == 3) {
        code = ScreenPowerLock();
    } else if (event == 2 || event == 4) {
        code = ScreenPowerUnLock();
    }
    CFWK_LOGI(LOG, "OnKeyMouseEvent result. %{public}d", code);
    result = MakeResult(code);
    return 0;
}

int32_t KeyMouseServiceManager::KeymouseSetDamplingCoefficient(uint32_t direction, double coefficient) {
    const int32_t code = InteractionManager::GetInstance()->SetDamplingCoefficient(direction, coefficient);
    CFWK_LOGI(LOG, "SetDamplingCoefficient ret = %{public}d, direction = %{public}d, double = %{public}f", code,
        direction, coefficient);
    return code;
}

}  // namespace ZYNE::CollaborationFwk
