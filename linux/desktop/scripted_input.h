// Keys, pointer and displays that a program makes up: for machines without a display server.
//
//     ScriptedInput input(service);
//     input.Configure({{"left", 0, 0, 1920, 1080}});
//     input.MoveTo(1919, 500);     // monitors see the pointer arrive at the right edge
//     input.Press(1);
#pragma once

#include <cstdint>
#include <vector>

#include "linux/base/mutex.h"
#include "linux/desktop/display_table.h"
#include "linux/desktop/event_assembler.h"
#include "linux/desktop/input_service.h"

namespace ZYNE::Linux {

// Any thread. Nothing calls a monitor inline. Input is ignored, with false as the answer, while the input of an X
// server is delivered, and before InputService is started.
class ScriptedInput {
public:
    // The device id of scripted events.
    static constexpr int32_t DEVICE_ID = 0;

    explicit ScriptedInput(InputService& service) : service_(service) {}

    // Sets the displays; before the first call there are none. While an X server has displays, these are kept for the
    // time after it. False, and nothing changes, when a size is not positive or a place or size is beyond 32767.
    bool Configure(const std::vector<DisplayArea>& displays);

    // The pointer stops at the border of its display, unless the move ends on another one. The raw motion is still told
    // in full, as with a mouse.
    bool Move(int32_t dx, int32_t dy);
    bool MoveTo(int32_t x, int32_t y);

    // Pressing what is pressed, or releasing what is not, makes no event.
    bool Press(int32_t button);
    bool Release(int32_t button);
    // `code` as in KeyEvent.
    bool Key(int32_t code, bool isPressed);

private:
    bool Tell(const RawInput& input, DesktopPoint to) REQUIRES(mutex_);
    bool TellSwitch(RawInput::Kind kind, int32_t code, bool isPressed);

    InputService& service_;
    Mutex mutex_;  // held while the events are queued, which keeps their order
    DesktopPoint point_ GUARDED_BY(mutex_);
    EventAssembler assembler_ GUARDED_BY(mutex_);
};

}  // namespace ZYNE::Linux
