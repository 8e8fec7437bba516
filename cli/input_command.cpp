#include <cstdint>
#include <initializer_list>
#include <utility>

#include <json/value.h>

#include "cli/command.h"
#include "cli/json_output.h"

namespace ZYNE::Cli {
namespace {

constexpr int32_t MAX_PIXELS = 32767;
constexpr int32_t MAX_BUTTON = 255;
constexpr int32_t MAX_KEY = 767;

// A way or a place.
struct Pixels {
    int32_t x = 0;
    int32_t y = 0;
    bool json = false;
};

// A button or a key.
struct Press {
    bool isDown = false;
    int32_t number = 0;
    bool json = false;
};

// There is nothing to tell but what was done.
int Conclude(bool json, std::initializer_list<std::pair<const char*, Json::Value>> done) {
    if (json) {
        Json::Value root(Json::objectValue);
        for (const auto& [name, value] : done) {
            root[name] = value;
        }
        PrintJson(root);
    }
    return 0;
}

int MovePointer(Client::Device& device, const Pixels& way) {
    device.Crossing().MovePointer(way.x, way.y);
    return Conclude(way.json, {{"dx", way.x}, {"dy", way.y}});
}

int MovePointerTo(Client::Device& device, const Pixels& place) {
    device.Crossing().MovePointerTo(place.x, place.y);
    return Conclude(place.json, {{"x", place.x}, {"y", place.y}});
}

int PressButton(Client::Device& device, const Press& press) {
    device.Crossing().PressButton(press.number, press.isDown);
    return Conclude(press.json, {{"button", press.number}, {"pressed", press.isDown}});
}

int PressKey(Client::Device& device, const Press& press) {
    device.Crossing().PressKey(press.number, press.isDown);
    return Conclude(press.json, {{"key", press.number}, {"pressed", press.isDown}});
}

void AddMoves(CLI::App& input, CommandLine& line) {
    const CLI::Range pixels(-MAX_PIXELS, MAX_PIXELS);
    CLI::App* move = input.add_subcommand("move", "Move the pointer by so many pixels");
    auto way = std::make_shared<Pixels>();
    move->add_option("DX", way->x, "To the right; negative: to the left")->required()->check(pixels);
    move->add_option("DY", way->y, "Down; negative: up")->required()->check(pixels);
    SetAction(*move, line, way, MovePointer);
    CLI::App* moveTo = input.add_subcommand("move-to", "Move the pointer to a place, in pixels");
    auto place = std::make_shared<Pixels>();
    moveTo->add_option("X", place->x, "From the left")->required()->check(pixels);
    moveTo->add_option("Y", place->y, "From the top")->required()->check(pixels);
    SetAction(*moveTo, line, place, MovePointerTo);
}

void AddPress(
    CLI::App* parent, CommandLine& line, const char* what, int32_t most, int (*action)(Client::Device&, const Press&)) {
    parent->require_subcommand(1);
    for (const bool isDown : {true, false}) {
        CLI::App* command =
            isDown ? parent->add_subcommand("press", "Press it down") : parent->add_subcommand("release", "Let it go");
        auto press = std::make_shared<Press>(Press{isDown});
        command->add_option("N", press->number, what)->required()->check(CLI::Range(1, most));
        SetAction(*command, line, press, action);
    }
}

}  // namespace

void AddInput(CLI::App& app, CommandLine& line) {
    CLI::App* input = app.add_subcommand("input", "Pointer and keys of a device that has no display");
    input->require_subcommand(1);
    AddMoves(*input, line);
    AddPress(input->add_subcommand("button", "A button of the mouse"), line, "1 left, 2 middle, 3 right", MAX_BUTTON,
        PressButton);
    AddPress(input->add_subcommand("key", "A key"), line, "The key's code as in linux/input-event-codes.h: 30 is A",
        MAX_KEY, PressKey);
}

}  // namespace ZYNE::Cli
