#include "linux/desktop/input_monitors.h"

#include <utility>

namespace ZYNE::Linux {
namespace {

constexpr int32_t NOT_ADDED = -1;

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

int32_t InputMonitors::Add(bool watchesKeys, MonitorQueue::Call call) {
    auto queue = std::make_shared<MonitorQueue>(std::move(call));
    const std::scoped_lock lock(mutex_);
    if (monitors_.size() >= MOST_MONITORS) {
        return NOT_ADDED;
    }
    monitors_.emplace(++lastId_, Monitor{watchesKeys, std::move(queue)});
    return lastId_;
}

bool InputMonitors::Remove(int32_t monitorId) {
    // Destroyed with no lock held: with it may end what the monitor holds.
    decltype(monitors_)::node_type removed;
    const std::scoped_lock lock(mutex_);
    removed = monitors_.extract(monitorId);
    if (removed) {
        removed.mapped().queue->Close();
    }
    return !monitors_.empty();
}

void InputMonitors::RemoveAll() {
    decltype(monitors_) removed;
    const std::scoped_lock lock(mutex_);
    removed.swap(monitors_);
    for (const auto& [id, monitor] : removed) {
        monitor.queue->Close();
    }
}

void InputMonitors::Deliver(const std::vector<InputEvent>& events) {
    const std::scoped_lock lock(mutex_);
    for (const InputEvent& event : events) {
        const bool isKey = std::holds_alternative<KeyChange>(event);
        for (const auto& [id, monitor] : monitors_) {
            if (monitor.watchesKeys == isKey) {
                monitor.queue->Push(event);
            }
        }
    }
}

}  // namespace ZYNE::Linux
