// Works out how far a person has moved from what pointing devices report.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <utility>

#include "companion/core/geometry.h"

namespace ZYNE::Companion {

// What one report of a device says on each axis; nothing for an axis that it is not about.
struct AxisValues {
    std::optional<double> x;
    std::optional<double> y;
};

// How a device reports.
struct MotionDevice {
    // Distances in pixels; coordinates from `min` to `max`; distances or coordinates in pixels.
    enum class Kind : uint8_t { DISTANCES, COORDINATES, EITHER };
    struct Range {
        double min = 0;
        double max = 0;
    };
    Kind kind = Kind::DISTANCES;
    Range x;
    Range y;
};

struct Distance {
    double dx = 0;
    double dy = 0;
};

// One thread at a time.
//
// A device that reports either has reported coordinates when the pointer is now where they say, and would not be there
// by the distance. When both are so, it is taken to do what it did before.
class MotionMeter {
public:
    void SetDevices(std::map<uint16_t, MotionDevice> devices) { devices_ = std::move(devices); }
    // Of all screens together, in pixels.
    void SetSize(int32_t width, int32_t height);

    // Takes a report, and returns what it is worth: nothing yet when it waits until somebody knows where the pointer is.
    Distance Add(uint16_t device, const AxisValues& values);
    bool IsWaiting() const { return isWaiting_; }
    // What the waiting reports were worth, now that the pointer is at `pointer`; no distance when none waits.
    Distance Settle(Point pointer);
    // Likewise when nobody can tell.
    Distance SettleByHabit();

    // From now on devices move something else than the pointer, which is at `pointer`: coordinates go on from there.
    void Detach(Point pointer);
    // They move the pointer again, which is at `pointer`.
    void Attach(Point pointer);
    // It was seen there.
    void SetPointer(Point pointer);
    Point Pointer() const { return pointer_; }

private:
    struct Place {
        double x = 0;
        double y = 0;
    };

    Distance MoveTo(const AxisValues& pixels);
    Distance MoveBy(Distance distance);
    Distance SettleAs(bool isAbsolute);
    Point Clamp(double x, double y) const;

    std::map<uint16_t, MotionDevice> devices_;
    int32_t width_ = 1;
    int32_t height_ = 1;
    Point pointer_;
    bool isDetached_ = false;
    Place place_;  // what devices move: the pointer, or that which they moved from it
    bool isWaiting_ = false;
    bool wasAbsolute_ = false;  // what a device that reports either did last
    AxisValues last_;           // of the waiting reports
    Distance sum_;              // of all of them, as distances
};

}  // namespace ZYNE::Companion
