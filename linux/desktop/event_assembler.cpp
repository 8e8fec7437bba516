#include "linux/desktop/event_assembler.h"

#include <algorithm>
#include <cmath>

namespace ZYNE::Linux {
namespace {

// Stands for the unknown device of a button that was pressed before we looked.
constexpr int32_t SOME_DEVICE = -1;

bool IsWheel(int32_t button) {
    return button >= 4 && button <= 7;
}

// Takes the whole units out of `distance`, which keeps the rest.
int32_t TakeWhole(double& distance) {
    constexpr double MAX_DISTANCE = 1 << 30;
    const double whole = std::trunc(std::clamp(distance, -MAX_DISTANCE, MAX_DISTANCE));
    distance -= std::trunc(distance);
    return static_cast<int32_t>(whole);
}

}  // namespace

EventAssembler::EventAssembler(DesktopPoint pointer, const std::set<int32_t>& pressedButtons) : pointer_(pointer) {
    for (const int32_t button : pressedButtons) {
        pressedButtons_.emplace(SOME_DEVICE, button);
    }
}

void EventAssembler::Add(const RawInput& input) {
    switch (input.kind) {
    case RawInput::Kind::MOTION:
        return AddMotion(input);
    case RawInput::Kind::BUTTON:
        return AddButton(input);
    case RawInput::Kind::KEY:
        return AddKey(input);
    }
}

void EventAssembler::AddMotion(const RawInput& input) {
    const bool follows =
        !steps_.empty() && steps_.back().motion && steps_.back().motion->last.deviceId == input.deviceId;
    if (!follows) {
        AddPointerStep(input.deviceId).isMotion = true;
        steps_.back().motion = Motion{};
    }
    Motion& motion = *steps_.back().motion;
    motion.last = input;
    motion.sumX += input.x;
    motion.sumY += input.y;
}

void EventAssembler::AddButton(const RawInput& input) {
    if (IsWheel(input.code)) {
        return;
    }
    const DeviceCode button{input.deviceId, input.code};
    const bool wasUnknown = pressedButtons_.erase({SOME_DEVICE, input.code}) > 0;
    const bool hasChanged =
        input.isPressed ? pressedButtons_.insert(button).second : pressedButtons_.erase(button) > 0 || wasUnknown;
    if (hasChanged) {
        AddPointerStep(input.deviceId);
    }
}

PointerChange& EventAssembler::AddPointerStep(int32_t deviceId) {
    auto& change = steps_.emplace_back().event.emplace<PointerChange>();
    change.deviceId = deviceId;
    change.pressedButtons = PressedButtons();
    return change;
}

void EventAssembler::AddKey(const RawInput& input) {
    const auto [key, isNew] = keys_.try_emplace({input.deviceId, input.code}, input.isPressed);
    if (isNew || key->second != input.isPressed) {
        key->second = input.isPressed;
        std::get<KeyChange>(steps_.emplace_back().event) = {input.code, input.isPressed ? KEY_PRESSED : KEY_RELEASED};
    }
}

std::set<int32_t> EventAssembler::PressedButtons() const {
    std::set<int32_t> buttons;
    for (const auto& [device, button] : pressedButtons_) {
        buttons.insert(button);
    }
    return buttons;
}

std::vector<InputEvent> EventAssembler::Finish(DesktopPoint pointer, const DisplayPlace& place) {
    std::vector<InputEvent> events;
    for (Step& step : steps_) {
        if (auto* change = std::get_if<PointerChange>(&step.event)) {
            change->place = place;
            if (step.motion) {
                SetDistance(*change, *step.motion, pointer);
            }
        }
        events.push_back(std::move(step.event));
    }
    steps_.clear();
    pointer_ = pointer;
    return events;
}

void EventAssembler::SetDistance(PointerChange& change, const Motion& motion, DesktopPoint pointer) {
    const bool isAtPointer = motion.last.x == pointer.x && motion.last.y == pointer.y;
    if (motion.last.motion == RawInput::Motion::ABSOLUTE ||
        (motion.last.motion == RawInput::Motion::EITHER && isAtPointer)) {
        change.dx = pointer.x - pointer_.x;
        change.dy = pointer.y - pointer_.y;
        pointer_ = pointer;
        return;
    }
    auto& [restX, restY] = rests_[change.deviceId];
    restX += motion.sumX;
    restY += motion.sumY;
    change.dx = TakeWhole(restX);
    change.dy = TakeWhole(restY);
}

}  // namespace ZYNE::Linux
