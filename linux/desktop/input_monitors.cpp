#include "linux/desktop/input_monitors.h"

#include <deque>
#include <utility>

#include "linux/base/log_domains.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

constexpr LogDomain LOG = LogDomains::INPUT;
constexpr int32_t NOT_ADDED = -1;

bool IsMotion(const InputEvent& event) {
    const auto* change = std::get_if<PointerChange>(&event);
    return change != nullptr && change->isMotion;
}

bool JoinOrMakeRoom(std::deque<InputEvent>& waiting, InputEvent& next) {
    if (waiting.size() >= InputMonitors::MAX_MOTIONS && IsMotion(next) && IsMotion(waiting.back())) {
        auto& last = std::get<PointerChange>(waiting.back());
        auto& joined = std::get<PointerChange>(next);
        joined.dx += last.dx;
        joined.dy += last.dy;
        last = std::move(joined);
        return true;
    }
    if (waiting.size() >= InputMonitors::MAX_EVENTS) {
        LogPrint(LogType::CORE, LogLevel::WARN, LOG, "a monitor does not return, it loses its oldest event");
        waiting.pop_front();
    }
    return false;
}

std::shared_ptr<KeyEvent> MakeKeyEvent(const KeyChange& change) {
    auto event = std::make_shared<KeyEvent>();
    event->SetKeyCode(change.code);
    event->SetKeyAction(change.action);
    return event;
}

std::shared_ptr<PointerEvent> MakePointerEvent(const PointerChange& change) {
    PointerItem item;
    item.SetDisplayX(change.place.x);
    item.SetDisplayY(change.place.y);
    item.SetRawDx(change.dx);
    item.SetRawDy(change.dy);
    item.SetDeviceId(change.deviceId);
    auto event = std::make_shared<PointerEvent>();
    event->SetPointerId(POINTER_ID);
    event->SetPointerItem(POINTER_ID, item);
    event->SetTargetDisplayId(change.place.displayId);
    event->SetPressedButtons(change.pressedButtons);
    return event;
}

}  // namespace

int32_t InputMonitors::Add(InputManager::KeyMonitor monitor) {
    return !monitor ? NOT_ADDED : Add(true, [monitor = std::move(monitor)](const InputEvent& event) {
        monitor(MakeKeyEvent(std::get<KeyChange>(event)));
    });
}

int32_t InputMonitors::Add(InputManager::PointerMonitor monitor) {
    return !monitor ? NOT_ADDED : Add(false, [monitor = std::move(monitor)](const InputEvent& event) {
        monitor(MakePointerEvent(std::get<PointerChange>(event)));
    });
}

int32_t InputMonitors::Add(bool watchesKeys, std::function<void(const InputEvent& event)> call) {
    auto events = Mailbox<InputEvent>::Make(pool_, std::move(call), {.join = &JoinOrMakeRoom});
    const MutexLock lock(mutex_);
    if (monitors_.size() >= MAX_MONITORS) {
        return NOT_ADDED;
    }
    monitors_.emplace(++lastId_, Monitor{watchesKeys, std::move(events)});
    return lastId_;
}

bool InputMonitors::Remove(int32_t monitorId) {
    // Destroyed with no lock held: what the monitor holds may end with it.
    decltype(monitors_)::node_type removed;
    const MutexLock lock(mutex_);
    removed = monitors_.extract(monitorId);
    if (removed) {
        removed.mapped().events->Close();
    }
    return !monitors_.empty();
}

void InputMonitors::RemoveAll() {
    decltype(monitors_) removed;
    const MutexLock lock(mutex_);
    removed.swap(monitors_);
    for (const auto& [id, monitor] : removed) {
        monitor.events->Close();
    }
}

void InputMonitors::Deliver(const std::vector<InputEvent>& events) {
    const MutexLock lock(mutex_);
    for (const InputEvent& event : events) {
        const bool isKey = std::holds_alternative<KeyChange>(event);
        for (const auto& [id, monitor] : monitors_) {
            if (monitor.watchesKeys == isKey) {
                monitor.events->Post(event);
            }
        }
    }
}

}  // namespace ZYNE::Linux
