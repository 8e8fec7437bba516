#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <poll.h>
#include <string>
#include <sys/stat.h>

#include "cli/command.h"
#include "cli/stop_signals.h"

namespace ZYNE::Cli {
namespace {

constexpr int LOOK_INTERVAL_MS = 100;
constexpr size_t LINES_BY_DEFAULT = 20;
constexpr int MAX_LINES = 1000000;

// Where the last `lines` lines of the file begin.
std::streamoff LastLines(std::ifstream& file, size_t lines) {
    constexpr std::streamoff BLOCK = 64 << 10;
    file.seekg(0, std::ios::end);
    std::streamoff begin = file.tellg();
    const std::streamoff end = begin;
    if (lines == 0) {
        return end;
    }
    std::string block;
    while (begin > 0) {
        const std::streamoff from = std::max<std::streamoff>(0, begin - BLOCK);
        block.resize(static_cast<size_t>(begin - from));
        file.seekg(from);
        file.read(block.data(), static_cast<std::streamsize>(block.size()));
        for (size_t i = block.size(); i-- > 0;) {
            const std::streamoff lineStart = from + static_cast<std::streamoff>(i) + 1;
            if (block[i] == '\n' && lineStart != end && lines-- == 1) {
                return lineStart;
            }
        }
        begin = from;
    }
    return 0;
}

// Prints what has been added, whole lines only: the rest is still being written.
void PrintNewLines(std::ifstream& file, std::streamoff& position) {
    file.clear();
    file.seekg(position);
    std::string line;
    while (std::getline(file, line) && !file.eof()) {
        std::cout << line << '\n';
        position = file.tellg();
    }
    std::cout.flush();
}

ino_t FileNumber(const std::filesystem::path& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? status.st_ino : 0;
}

bool IsInterrupted(const StopSignals& stop) {
    pollfd polled{stop.Descriptor(), POLLIN, 0};
    return poll(&polled, 1, LOOK_INTERVAL_MS) > 0;
}

void Follow(const Client::DeviceEntry& device, std::ifstream& file, std::streamoff position, const StopSignals& stop) {
    ino_t number = FileNumber(device.LogFile());
    bool running = true;
    while (running && std::cout && !IsInterrupted(stop)) {
        // Asked before the file is read, so that the last lines of a device that ends are not lost.
        const auto now = Client::FindDeviceByDirectory(device.stateDirectory);
        running = now && now->running;
        PrintNewLines(file, position);
        const ino_t current = FileNumber(device.LogFile());
        if (current != number && current != 0) {
            PrintNewLines(file, position);  // what came in before the file was replaced
            number = current;
            position = 0;
            file = std::ifstream(device.LogFile(), std::ios::binary);
            running = true;
        }
    }
    if (!running) {
        throw CommandError("the device \"" + device.name + "\" has ended");
    }
}

struct Options {
    size_t lines = LINES_BY_DEFAULT;
    bool follow = false;
};

int ShowLog(const DeviceChoice& choice, const Options& options) {
    const Client::DeviceEntry device = ChooseDevice(choice, true);
    std::error_code ignored;
    std::ifstream file;
    if (std::filesystem::is_regular_file(device.LogFile(), ignored)) {
        file.open(device.LogFile(), std::ios::binary);
    }
    if (!file.is_open()) {
        throw CommandError(device.LogFile().string() + " cannot be read: no device has logged there");
    }
    const std::optional<StopSignals> stop = options.follow ? std::optional<StopSignals>(std::in_place) : std::nullopt;
    std::streamoff position = LastLines(file, options.lines);
    PrintNewLines(file, position);
    if (stop) {
        Follow(device, file, position, *stop);
    }
    return 0;
}

}  // namespace

void AddLog(CLI::App& app, CommandLine& line) {
    CLI::App* command = app.add_subcommand("log", "Print the device's log, also after the device has ended");
    auto options = std::make_shared<Options>();
    command->add_option("--lines", options->lines, "How many of the last lines to print")
        ->type_name("N")
        ->check(CLI::Range(0, MAX_LINES))
        ->capture_default_str();
    command->add_flag("--follow", options->follow, "Go on printing new lines until the device ends");
    SetAction(*command, line, options, ShowLog);
}

}  // namespace ZYNE::Cli
