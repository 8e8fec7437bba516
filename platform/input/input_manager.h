// Lets one watch the keyboard and the pointer.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "platform/export.h"
#include "platform/input/key_event.h"
#include "platform/input/pointer_event.h"

namespace ZYNE {

// Any thread. No operation calls a monitor inline or waits for one that is running: the caller may hold locks that its
// monitors take, and may call from inside a monitor.
class PLATFORM_API InputManager {
public:
    using KeyMonitor = std::function<void(std::shared_ptr<KeyEvent>)>;
    using PointerMonitor = std::function<void(std::shared_ptr<PointerEvent>)>;

    static InputManager* GetInstance();  // defined by the port; never null

    // Has `monitor` called for every key, or every pointer event, of any device, whichever program has the focus. It
    // only watches: the events go their way all the same. On any thread of the port, several at once. Returns an id for
    // RemoveMonitor, keys and pointers counted together; negative when the monitor could not be added.
    virtual int32_t AddMonitor(KeyMonitor monitor) = 0;
    virtual int32_t AddMonitor(PointerMonitor monitor) = 0;

    // No call begins after it returns; one that is under way may still be running. An id that is not known is passed
    // over.
    virtual void RemoveMonitor(int32_t monitorId) = 0;

protected:
    ~InputManager() = default;
};

}  // namespace ZYNE
