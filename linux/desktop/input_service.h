// Keyboard, pointer and displays of the desktop that this device's user sits at.
//
//     InputService input(pool);
//     input.Start({.display = ":0"});     // before the library's first call
//     ...
//     input.Stop();                       // before the pool is drained
//
// The X server is watched only while somebody wants it: a connection is made when a monitor is added or a display is
// asked for, and ends with the last monitor. While there is no server, input comes from ScriptedInput instead, and the
// server is tried again every two seconds: monitors stay when a server goes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "linux/base/mutex.h"
#include "linux/desktop/display_table.h"
#include "linux/desktop/input_monitors.h"
#include "linux/desktop/x_input_source.h"
#include "platform/display/display_manager.h"
#include "platform/input/input_manager.h"

namespace ZYNE::Linux {

struct InputOptions {
    std::string display;    // of the X server, such as ":0"; empty means what the environment's DISPLAY says
    bool scripted = false;  // no X server is used, even if there is one
};

// Any thread, unless said otherwise. Monitors run on threads of the pool; the calls of one monitor come one after the
// other, in the order of the events. A slow monitor delays no other; up to half a second of motion is kept for it in
// full, and what comes after that is told as one motion.
class InputService final : public InputManager, public DisplayManager {
public:
    explicit InputService(ThreadPool& pool) : monitors_(pool) {}
    InputService(const InputService&) = delete;
    InputService& operator=(const InputService&) = delete;
    ~InputService() { Stop(); }

    // Monitors can be added from now on. Throws std::exception when there is no thread or file descriptor left; a
    // missing server is no failure. Start and Stop are for one thread; it can be started again.
    void Start(const InputOptions& options);

    // Ends all monitors and the connection. Calls of monitors may still run: the end of the pool waits for them.
    void Stop();

    // Negative while not started, when `monitor` is empty, and when there are too many.
    int32_t AddMonitor(KeyMonitor monitor) override;
    int32_t AddMonitor(PointerMonitor monitor) override;
    void RemoveMonitor(int32_t monitorId) override;

    // While there is no monitor, the first question waits for the server's answer, for a second at most; so does the
    // first monitor. A display whose size has changed has a new id, so that a size kept by id is never out of date.
    sptr<Display> GetDefaultDisplay() override;
    // Null also while there is neither a monitor nor an earlier question for the default display.
    sptr<Display> GetDisplayById(uint64_t displayId) override;

    // The displays that are used while there is no X server.
    void SetScriptedDisplays(const std::vector<DisplayArea>& displays) { displays_.SetScripted(displays); }
    const DisplayTable& Displays() const { return displays_; }
    // False, and nothing done, when the X server's input is delivered, and while not started.
    bool DeliverScripted(const std::vector<InputEvent>& events);

private:
    template <typename Monitor>
    int32_t Add(Monitor monitor);

    // Never held while a monitor runs or somebody waits for the server. Taken before the locks of the members.
    Mutex mutex_;
    bool isStarted_ GUARDED_BY(mutex_) = false;
    DisplayTable displays_;
    InputMonitors monitors_;
    XInputSource server_{displays_, monitors_};
};

}  // namespace ZYNE::Linux
