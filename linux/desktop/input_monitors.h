// Who watches keys, who watches the pointer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "linux/desktop/monitor_queue.h"
#include "platform/input/input_manager.h"

namespace ZYNE::Linux {

// Any thread. Nothing calls a monitor inline or waits for one.
class InputMonitors {
public:
    static constexpr size_t MOST_MONITORS = 256;

    // The new monitor's id; negative when `monitor` is empty or there are too many.
    int32_t Add(InputManager::KeyMonitor monitor);
    int32_t Add(InputManager::PointerMonitor monitor);
    // Whether monitors are left.
    bool Remove(int32_t monitorId);
    void RemoveAll();

    // Queues `events`, in this order and not mixed with those of another call, for everybody whom they concern.
    void Deliver(const std::vector<InputEvent>& events);

private:
    struct Monitor {
        bool watchesKeys;
        std::shared_ptr<MonitorQueue> queue;
    };

    int32_t Add(bool watchesKeys, MonitorQueue::Call call);

    std::mutex mutex_;                     // taken before the queues' locks
    std::map<int32_t, Monitor> monitors_;  // guarded by mutex_
    int32_t lastId_ = 0;                   // guarded by mutex_
};

}  // namespace ZYNE::Linux
