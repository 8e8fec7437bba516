#include "tests/scenario/x_server.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <stdexcept>

namespace ZYNE::Testing {

XServer::XServer(const std::filesystem::path& directory, const std::string& size, const std::string& display) {
    const std::filesystem::path file = directory / "display";
    std::filesystem::remove(file);
    std::vector<std::string> command{
        "/usr/bin/Xvfb", "-displayfd", "1", "-screen", "0", size + "x24", "-nolisten", "tcp", "-noreset"};
    if (!display.empty()) {
        command.insert(command.begin() + 1, display);
    }
    process_ = std::make_unique<Process>(command, file);
    // Beside complaints about numbers that are taken.
    const auto hasNumber = [&] {
        std::ifstream stream(file);
        while (std::getline(stream, number_) && !stream.eof()) {
            if (!number_.empty() &&
                std::ranges::all_of(number_, [](unsigned char c) { return std::isdigit(c) != 0; })) {
                return true;
            }
        }
        return false;
    };
    if (!Eventually(hasNumber)) {
        throw std::runtime_error("Xvfb does not start");
    }
}

void XServer::Do(const std::vector<std::string>& arguments) const {
    Run("/usr/bin/xdotool", arguments);
}

void XServer::Resize(const std::string& size) const {
    const std::string width = size.substr(0, size.find('x'));
    const std::string height = size.substr(size.find('x') + 1);
    const std::string mode = "mode" + size;
    const std::vector<std::string> timing{"60", width, width, width, width, height, height, height, height};
    std::vector<std::string> newMode{"--newmode", mode};
    newMode.insert(newMode.end(), timing.begin(), timing.end());
    Run("/usr/bin/xrandr", newMode);
    Run("/usr/bin/xrandr", {"--addmode", "screen", mode});
    Run("/usr/bin/xrandr", {"--output", "screen", "--mode", mode});
}

void XServer::Run(const std::string& program, const std::vector<std::string>& arguments) const {
    std::vector<std::string> command{"/usr/bin/env", "DISPLAY=" + Display(), program};
    command.insert(command.end(), arguments.begin(), arguments.end());
    const Outcome outcome = RunCommand(command);
    if (outcome.status != 0) {
        throw std::runtime_error(program + " failed: " + outcome.err);
    }
}

}  // namespace ZYNE::Testing
