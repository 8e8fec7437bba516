#include "linux/desktop/scripted_input.h"

#include <algorithm>

namespace ZYNE::Linux {
namespace {

constexpr int32_t MAX_PIXELS = 32767;

bool IsValid(const DisplayArea& area) {
    const auto isPlace = [](int32_t pixels) {
        return pixels >= -MAX_PIXELS && pixels <= MAX_PIXELS;
    };
    const auto isSize = [](int32_t pixels) {
        return pixels > 0 && pixels <= MAX_PIXELS;
    };
    return isPlace(area.x) && isPlace(area.y) && isSize(area.width) && isSize(area.height);
}

// Limited to what a pointer can reach anyway, so that nothing overflows.
int32_t Step(int32_t from, int32_t distance) {
    return from + std::clamp(distance, -4 * MAX_PIXELS, 4 * MAX_PIXELS);
}

}  // namespace

bool ScriptedInput::Configure(const std::vector<DisplayArea>& displays) {
    if (!std::ranges::all_of(displays, IsValid)) {
        return false;
    }
    const MutexLock lock(mutex_);
    service_.SetScriptedDisplays(displays);
    return true;
}

bool ScriptedInput::Move(int32_t dx, int32_t dy) {
    RawInput input;
    input.deviceId = DEVICE_ID;
    input.x = dx;
    input.y = dy;
    const MutexLock lock(mutex_);
    return Tell(input, {Step(point_.x, dx), Step(point_.y, dy)});
}

bool ScriptedInput::MoveTo(int32_t x, int32_t y) {
    RawInput input;
    input.deviceId = DEVICE_ID;
    input.motion = RawInput::Motion::ABSOLUTE;
    const MutexLock lock(mutex_);
    return Tell(input, {x, y});
}

bool ScriptedInput::Press(int32_t button) {
    return TellSwitch(RawInput::Kind::BUTTON, button, true);
}

bool ScriptedInput::Release(int32_t button) {
    return TellSwitch(RawInput::Kind::BUTTON, button, false);
}

bool ScriptedInput::Key(int32_t code, bool isPressed) {
    return TellSwitch(RawInput::Kind::KEY, code, isPressed);
}

bool ScriptedInput::TellSwitch(RawInput::Kind kind, int32_t code, bool isPressed) {
    RawInput input;
    input.kind = kind;
    input.deviceId = DEVICE_ID;
    input.code = code;
    input.isPressed = isPressed;
    const MutexLock lock(mutex_);
    return Tell(input, point_);
}

bool ScriptedInput::Tell(const RawInput& input, DesktopPoint to) {
    const DesktopPoint point = service_.Displays().Confine(point_, to);
    EventAssembler assembler = assembler_;  // what is not delivered has not happened
    assembler.Add(input);
    if (!service_.DeliverScripted(assembler.Finish(point, service_.Displays().Locate(point)))) {
        return false;
    }
    point_ = point;
    assembler_ = std::move(assembler);
    return true;
}

}  // namespace ZYNE::Linux
