// Turns what input devices report into the events that monitors are told.
//
//     assembler.Add(...);                               // everything that the server has told, in its order
//     for (event : assembler.Finish(pointer, place))    // and where the pointer is after that
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "linux/desktop/input_event.h"

namespace ZYNE::Linux {

// One report of a device.
struct RawInput {
    enum class Kind { MOTION, BUTTON, KEY };
    // What the numbers of a motion are: distances, coordinates, or either.
    enum class Motion { RELATIVE, ABSOLUTE, EITHER };

    Kind kind = Kind::MOTION;
    int32_t deviceId = 0;
    int32_t code = 0;        // of the button or key
    bool isPressed = false;  // the button or key
    Motion motion = Motion::RELATIVE;
    double x = 0;  // of a motion
    double y = 0;
};

// One thread at a time.
//
// Motions with nothing in between become one event with their sum; fractions of a unit are kept until they add up to a
// whole one. Keys, buttons and motion keep their order. A press of what is pressed already, or a release of what is
// released, makes no event: servers repeat both. The wheel, buttons 4 to 7, is neither a motion nor a button.
//
// A device that reports coordinates has moved by as much as the pointer. One that may report either, like that of the
// test extension, has reported coordinates if its last ones are those of the pointer. A distance can only equal them by
// chance when the pointer was in the corner, and then both mean the same.
class EventAssembler {
public:
    explicit EventAssembler(DesktopPoint pointer = {}, const std::set<int32_t>& pressedButtons = {});

    void Add(const RawInput& input);

    // What was added since the last call, as events. All of them have the pointer's present place.
    std::vector<InputEvent> Finish(DesktopPoint pointer, const DisplayPlace& place);

private:
    struct Motion {
        RawInput last;
        double sumX = 0;
        double sumY = 0;
    };
    struct Step {
        InputEvent event;
        std::optional<Motion> motion;
    };
    using DeviceCode = std::pair<int32_t, int32_t>;

    void AddMotion(const RawInput& input);
    void AddButton(const RawInput& input);
    void AddKey(const RawInput& input);
    PointerChange& AddPointerStep(int32_t deviceId);
    std::set<int32_t> PressedButtons() const;
    void SetDistance(PointerChange& change, const Motion& motion, DesktopPoint pointer);

    DesktopPoint pointer_;
    std::vector<Step> steps_;
    std::set<DeviceCode> pressedButtons_;
    std::map<DeviceCode, bool> keys_;                     // whether it is pressed; unknown until its first report
    std::map<int32_t, std::pair<double, double>> rests_;  // by device: the part of its motion that is below one unit
};

}  // namespace ZYNE::Linux
