// Draws devices as boxes, each where it lies.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "companion/placements/placement_book.h"

namespace ZYNE::Cli {

// A device as it is drawn: lines of text in a box.
struct DeskBox {
    std::string id;
    std::vector<std::string> lines;
};

// `boxes`, the first in the middle and each other one beside a device that it is placed beside, as `placements` say.
// Boxes that are placed nowhere come last, below. Each line ends with a line feed; the texts must be printable.
std::string DrawDesk(const std::vector<DeskBox>& boxes, const std::vector<Companion::HeldPlacement>& placements);

}  // namespace ZYNE::Cli
