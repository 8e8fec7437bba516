// Keys, the pointer and the displays that it moves on.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "platform/display/display_manager.h"
#include "platform/input/input_manager.h"
#include "platform/interaction/interaction_manager.h"
#include "tests/support/fake_calls.h"

namespace ZYNE::Testing {

// One thread, but for the monitors. In the journal: the operation and its arguments; a code of AddMonitor that is not 0
// is the id that it answers.
class FakeInput final : public InputManager, public DisplayManager, public InteractionManager, public FakeCalls {
public:
    explicit FakeInput(Journal& journal) : FakeCalls(journal) {}

    int32_t AddMonitor(KeyMonitor monitor) override { return Add(keyMonitors_, std::move(monitor), "keys"); }
    int32_t AddMonitor(PointerMonitor monitor) override { return Add(pointerMonitors_, std::move(monitor), "pointer"); }
    void RemoveMonitor(int32_t monitorId) override {
        std::lock_guard lock(mutex_);
        Call("RemoveMonitor", std::to_string(monitorId));
        keyMonitors_.erase(monitorId);
        pointerMonitors_.erase(monitorId);
    }
    sptr<Display> GetDefaultDisplay() override { return defaultDisplay; }
    sptr<Display> GetDisplayById(uint64_t displayId) override {
        Call("GetDisplayById", std::to_string(displayId));
        return displays[displayId];
    }
    int32_t SetDamplingCoefficient(uint32_t direction, double coefficient) override {
        return Call("SetDamplingCoefficient", std::to_string(direction) + ", " + std::to_string(coefficient));
    }

    // A key, or the pointer, does something: every monitor is told.
    void Press(int32_t keyCode, int32_t keyAction) {
        const auto event = std::make_shared<KeyEvent>();
        event->SetKeyCode(keyCode);
        event->SetKeyAction(keyAction);
        for (const auto& [id, monitor] : Copy(keyMonitors_)) {
            monitor(event);
        }
    }
    // By (-3, 70000) as input device 6 tells it.
    void Move(int32_t displayId, int32_t x, int32_t y, const std::set<int32_t>& buttons = {}) {
        PointerItem item;
        item.SetDisplayX(x);
        item.SetDisplayY(y);
        item.SetRawDx(-3);
        item.SetRawDy(70000);
        item.SetDeviceId(6);
        const auto event = std::make_shared<PointerEvent>();
        event->SetPointerId(7);
        event->SetPointerItem(7, item);
        event->SetTargetDisplayId(displayId);
        event->SetPressedButtons(buttons);
        for (const auto& [id, monitor] : Copy(pointerMonitors_)) {
            monitor(event);
        }
    }

    sptr<Display> defaultDisplay;
    std::map<uint64_t, sptr<Display>> displays;
    int32_t nextId = 5;  // of a monitor

private:
    template <typename Monitor>
    int32_t Add(std::map<int32_t, Monitor>& monitors, Monitor monitor, const std::string& name) {
        std::lock_guard lock(mutex_);
        const int32_t code = Call("AddMonitor", name);
        if (code != 0) {
            return code;
        }
        monitors[nextId] = std::move(monitor);
        return nextId++;
    }
    template <typename Monitors>
    Monitors Copy(const Monitors& monitors) {
        std::lock_guard lock(mutex_);
        return monitors;
    }

    std::mutex mutex_;
    std::map<int32_t, KeyMonitor> keyMonitors_;
    std::map<int32_t, PointerMonitor> pointerMonitors_;
};

}  // namespace ZYNE::Testing
