// Commands that do what a person does at a device: user, input, screen.
#include <array>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <utility>

#include "cli/crossing_commands.h"
#include "cli/options.h"

namespace ZYNE::Cli {
namespace {

constexpr int32_t MOST_PIXELS = 32767;
constexpr int32_t MOST_BUTTON = 255;
constexpr int32_t MOST_KEY = 767;

struct Options {
    int32_t first = 0;
    int32_t second = 0;
    bool json = false;
};

using Command = std::function<int(const DeviceChoice&, const Options&)>;

// A command that has been described: what it does, with --json.
void Finish(CLI::App* command, const DeviceChoice& device, Run& run, std::shared_ptr<Options> options, Command does) {
    command->add_flag("--json", options->json, "Print JSON");
    command->callback([&device, &run, options = std::move(options), does = std::move(does)] {
        run = [&device, options, does] {
            return does(device, *options);
        };
    });
}

void AddMove(CLI::App& input, const DeviceChoice& device, Run& run) {
    const CLI::Range pixels(-MOST_PIXELS, MOST_PIXELS);
    CLI::App* move = input.add_subcommand("move", "Move the pointer by so many pixels");
    auto way = std::make_shared<Options>();
    move->add_option("DX", way->first, "To the right; negative: to the left")->required()->check(pixels);
    move->add_option("DY", way->second, "Down; negative: up")->required()->check(pixels);
    Finish(move, device, run, way, [](const DeviceChoice& choice, const Options& given) {
        return MovePointer(choice, given.first, given.second, given.json);
    });
    CLI::App* moveTo = input.add_subcommand("move-to", "Move the pointer to a place, in pixels");
    auto place = std::make_shared<Options>();
    moveTo->add_option("X", place->first, "From the left")->required()->check(pixels);
    moveTo->add_option("Y", place->second, "From the top")->required()->check(pixels);
    Finish(moveTo, device, run, place, [](const DeviceChoice& choice, const Options& given) {
        return MovePointerTo(choice, given.first, given.second, given.json);
    });
}

// A button or a key, which `press` presses or releases.
void AddPress(CLI::App* parent, const DeviceChoice& device, Run& run, const char* what, int32_t most,
    int (*press)(const DeviceChoice&, int32_t, bool, bool)) {
    parent->require_subcommand(1);
    for (const auto& [word, isDown] : {std::pair("press", true), std::pair("release", false)}) {
        CLI::App* command = parent->add_subcommand(word, isDown ? "Press it down" : "Let it go");
        auto options = std::make_shared<Options>();
        command->add_option("N", options->first, what)->required()->check(CLI::Range(1, most));
        Finish(
            command, device, run, options, [press, isDown = isDown](const DeviceChoice& choice, const Options& given) {
                return press(choice, given.first, isDown, given.json);
            });
    }
}

}  // namespace

void AddInput(CLI::App& app, const DeviceChoice& device, Run& run) {
    CLI::App* input = app.add_subcommand("input", "Pointer and keys of a device that has no display");
    input->require_subcommand(1);
    AddMove(*input, device, run);
    AddPress(input->add_subcommand("button", "A button of the mouse"), device, run, "1 left, 2 middle, 3 right",
        MOST_BUTTON, &PressButton);
    AddPress(input->add_subcommand("key", "A key"), device, run,
        "The key's code as in linux/input-event-codes.h: 30 is A", MOST_KEY, &PressKey);
}

void AddScreen(CLI::App& app, const DeviceChoice& device, Run& run) {
    constexpr std::array<std::pair<const char*, int32_t>, 4> STATUSES{
        {{"on", 1}, {"off", 0}, {"locked", 2}, {"auto", -1}}};
    CLI::App* screen = app.add_subcommand("screen", "Say what the device's screen is; its peers are told");
    screen->require_subcommand(1);
    for (const auto& [word, status] : STATUSES) {
        const bool isDesktop = status < 0;
        CLI::App* command = screen->add_subcommand(
            word, isDesktop ? "Leave it to the desktop again" : std::string("Say that it is ") + word);
        Finish(command, device, run, std::make_shared<Options>(),
            [status = status](
                const DeviceChoice& choice, const Options& given) { return SetScreen(choice, status, given.json); });
    }
}

void AddUser(CLI::App& app, const DeviceChoice& device, Run& run) {
    CLI::App* user = app.add_subcommand("user", "Users of the device");
    user->require_subcommand(1);
    Finish(user->add_subcommand("list", "List them"), device, run, std::make_shared<Options>(),
        [](const DeviceChoice& choice, const Options& given) { return ListUsers(choice, given.json); });
    CLI::App* toForeground = user->add_subcommand("switch", "Bring a user to the foreground");
    auto options = std::make_shared<Options>();
    toForeground->add_option("USER", options->first, "The user's number")
        ->required()
        ->check(CLI::Range(0, std::numeric_limits<int32_t>::max()));
    Finish(toForeground, device, run, options,
        [](const DeviceChoice& choice, const Options& given) { return SwitchUser(choice, given.first, given.json); });
}

}  // namespace ZYNE::Cli
