#include "companion/x11/motion_meter.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace ZYNE::Companion {
namespace {

// A coordinate of a device as pixels of a desktop that is `size` long.
std::optional<double> Scale(std::optional<double> value, const MotionDevice::Range& range, int32_t size) {
    const double steps = range.max - range.min + 1;
    if (!value || steps <= 1) {
        return value;
    }
    return (*value - range.min) / steps * size;
}

// The server rounds as it likes.
bool IsThere(Point one, Point other) {
    return std::abs(one.x - other.x) <= 1 && std::abs(one.y - other.y) <= 1;
}

}  // namespace

void MotionMeter::SetSize(int32_t width, int32_t height) {
    width_ = std::max(width, 1);
    height_ = std::max(height, 1);
}

Distance MotionMeter::Add(uint16_t device, const AxisValues& values) {
    const auto found = devices_.find(device);
    const MotionDevice how = found != devices_.end() ? found->second : MotionDevice();
    switch (how.kind) {
    case MotionDevice::Kind::COORDINATES:
        return MoveTo({Scale(values.x, how.x, width_), Scale(values.y, how.y, height_)});
    case MotionDevice::Kind::EITHER:
        isWaiting_ = true;
        last_ = values;
        sum_.dx += values.x.value_or(0);
        sum_.dy += values.y.value_or(0);
        return {};
    default:
        return MoveBy({values.x.value_or(0), values.y.value_or(0)});
    }
}

Distance MotionMeter::Settle(Point pointer) {
    const Point before = pointer_;
    const bool byDistance = IsThere(pointer, Clamp(before.x + sum_.dx, before.y + sum_.dy));
    // Nobody names a place where there is none.
    const Point place{
        static_cast<int32_t>(last_.x.value_or(before.x)), static_cast<int32_t>(last_.y.value_or(before.y))};
    const bool byPlace = IsThere(pointer, place);
    const Distance distance = SettleAs(byDistance == byPlace ? wasAbsolute_ : byPlace);
    SetPointer(pointer);
    return distance;
}

Distance MotionMeter::SettleByHabit() {
    return SettleAs(wasAbsolute_);
}

void MotionMeter::Detach(Point pointer) {
    SetPointer(pointer);
    isDetached_ = true;
}

void MotionMeter::Attach(Point pointer) {
    isDetached_ = false;
    SetPointer(pointer);
}

void MotionMeter::SetPointer(Point pointer) {
    pointer_ = pointer;
    if (!isDetached_) {
        place_ = {static_cast<double>(pointer.x), static_cast<double>(pointer.y)};
    }
}

Distance MotionMeter::MoveTo(const AxisValues& pixels) {
    return MoveBy({pixels.x.value_or(place_.x) - place_.x, pixels.y.value_or(place_.y) - place_.y});
}

Distance MotionMeter::MoveBy(Distance distance) {
    place_.x += distance.dx;
    place_.y += distance.dy;
    return distance;
}

Distance MotionMeter::SettleAs(bool isAbsolute) {
    if (!isWaiting_) {
        return {};
    }
    isWaiting_ = false;
    wasAbsolute_ = isAbsolute;
    const Distance sum = std::exchange(sum_, {});
    return isAbsolute ? MoveTo(last_) : MoveBy(sum);
}

Point MotionMeter::Clamp(double x, double y) const {
    return {static_cast<int32_t>(std::clamp(std::floor(x), 0.0, width_ - 1.0)),
        static_cast<int32_t>(std::clamp(std::floor(y), 0.0, height_ - 1.0))};
}

}  // namespace ZYNE::Companion
