// Who watches the keys and who the pointer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "linux/base/mailbox.h"
#include "linux/base/mutex.h"
#include "linux/desktop/input_event.h"
#include "platform/input/input_manager.h"

namespace ZYNE::Linux {

// Any thread. Nothing calls a monitor inline or waits for one.
class InputMonitors {
public:
    static constexpr size_t MAX_MONITORS = 256;
    // How many motions may wait for a monitor. A further one is added to the last of them.
    static constexpr size_t MAX_MOTIONS = 256;
    // How many events may wait for it. For a further one the oldest is dropped: the monitor has not returned for
    // thousands of keys.
    static constexpr size_t MAX_EVENTS = 4096;

    explicit InputMonitors(ThreadPool& pool) : pool_(pool) {}

    // The new monitor's id; negative when `monitor` is empty or there are too many.
    int32_t Add(InputManager::KeyMonitor monitor);
    int32_t Add(InputManager::PointerMonitor monitor);
    // Removes a monitor. Returns whether others are left.
    bool Remove(int32_t monitorId);
    void RemoveAll();

    // Queues `events` for the monitors that they concern, in this order and not mixed with those of another call.
    void Deliver(const std::vector<InputEvent>& events);

private:
    struct Monitor {
        bool watchesKeys;
        std::shared_ptr<Mailbox<InputEvent>> events;
    };

    int32_t Add(bool watchesKeys, std::function<void(const InputEvent& event)> call);

    ThreadPool& pool_;
    Mutex mutex_;  // taken before the mailboxes' locks
    std::map<int32_t, Monitor> monitors_ GUARDED_BY(mutex_);
    int32_t lastId_ GUARDED_BY(mutex_) = 0;
};

}  // namespace ZYNE::Linux
