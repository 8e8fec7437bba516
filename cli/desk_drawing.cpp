#include "cli/desk_drawing.h"

#include <algorithm>
#include <set>
#include <utility>

namespace ZYNE::Cli {
namespace {

using Companion::HeldPlacement;
using Companion::Placement;
using Companion::Side;

// Column and row.
using Cell = std::pair<int, int>;

Cell Beside(Cell cell, Side side) {
    switch (side) {
    case Side::LEFT:
        return {cell.first - 1, cell.second};
    case Side::RIGHT:
        return {cell.first + 1, cell.second};
    case Side::TOP:
        return {cell.first, cell.second - 1};
    default:
        return {cell.first, cell.second + 1};
    }
}

// Where each device is drawn.
class Grid {
public:
    explicit Grid(const std::vector<HeldPlacement>& placements) : placements_(placements) {}

    void Put(const std::string& device, Cell cell) {
        cells_.emplace(device, cell);
        for (const HeldPlacement& held : placements_) {
            if (!held.Concerns(device)) {
                continue;
            }
            const Placement seen = held.SeenBy(device);
            if (!cells_.contains(seen.peer)) {
                Put(seen.peer, FreeFrom(cell, seen.side));
            }
        }
    }

    bool Has(const std::string& device) const { return cells_.contains(device); }
    Cell At(const std::string& device) const { return cells_.at(device); }

    int LastRow() const {
        int last = 0;
        for (const auto& [device, cell] : cells_) {
            last = std::max(last, cell.second);
        }
        return last;
    }

private:
    // The next one on that side in which nothing is drawn.
    Cell FreeFrom(Cell cell, Side side) const {
        do {
            cell = Beside(cell, side);
        } while (std::ranges::any_of(cells_, [&](const auto& taken) { return taken.second == cell; }));
        return cell;
    }

    const std::vector<HeldPlacement>& placements_;
    std::map<std::string, Cell> cells_;
};

// In characters, as most terminals count.
size_t Width(const std::string& text) {
    return static_cast<size_t>(
        std::ranges::count_if(text, [](char each) { return (static_cast<unsigned char>(each) & 0xC0U) != 0x80U; }));
}

std::string Filled(const std::string& text, size_t width) {
    return text + std::string(width - Width(text), ' ');
}

// The line `number` of a box that is `height` lines high in all.
std::string BoxLine(const DeskBox& box, size_t number, size_t height, size_t width) {
    if (number == 0 || number + 1 == height) {
        return '+' + std::string(width + 2, '-') + '+';
    }
    return "| " + Filled(number <= box.lines.size() ? box.lines[number - 1] : "", width) + " |";
}

}  // namespace

std::string DrawDesk(const std::vector<DeskBox>& boxes, const std::vector<HeldPlacement>& placements) {
    Grid grid(placements);
    size_t width = 0;
    size_t height = 0;
    for (const DeskBox& box : boxes) {
        if (!grid.Has(box.id)) {
            grid.Put(box.id, {0, grid.Has(boxes.front().id) ? grid.LastRow() + 1 : 0});
        }
        height = std::max(height, box.lines.size() + 2);
        for (const std::string& line : box.lines) {
            width = std::max(width, Width(line));
        }
    }
    std::map<int, std::map<int, const DeskBox*>> rows;  // by row and column
    int first = 0;
    for (const DeskBox& box : boxes) {
        const Cell cell = grid.At(box.id);
        rows[cell.second][cell.first] = &box;
        first = std::min(first, cell.first);
    }
    std::string drawing;
    for (const auto& [row, columns] : rows) {
        for (size_t line = 0; line < height; ++line) {
            std::string text;
            for (int column = first; column <= columns.rbegin()->first; ++column) {
                const auto box = columns.find(column);
                text += box == columns.end() ? std::string(width + 4, ' ') : BoxLine(*box->second, line, height, width);
            }
            drawing += text + '\n';
        }
    }
    return drawing;
}

}  // namespace ZYNE::Cli
