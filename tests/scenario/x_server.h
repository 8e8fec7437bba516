// A display of its own for a device, and the person who sits at it.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tests/scenario/process.h"

namespace ZYNE::Testing {

// An X server without a screen, of a free number or that of `display`.
class XServer {
public:
    // `size` is such as "800x600". Keeps a file in `directory`.
    XServer(const std::filesystem::path& directory, const std::string& size, const std::string& display = "");

    // Such as ":1".
    std::string Display() const { return ":" + number_; }

    // xdotool arguments...: moves the pointer, presses buttons and keys. Returns when it has happened.
    void Do(const std::vector<std::string>& arguments) const;
    // Another size, no larger than the first.
    void Resize(const std::string& size) const;
    // Runs a program on the display.
    void Run(const std::string& program, const std::vector<std::string>& arguments) const;
    Process& Server() { return *process_; }

private:
    std::string number_;
    std::unique_ptr<Process> process_;
};

}  // namespace ZYNE::Testing
