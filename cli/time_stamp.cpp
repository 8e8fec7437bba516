#include "cli/time_stamp.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <ctime>

namespace ZYNE::Cli {

std::string TimeStamp() {
    const auto now = std::chrono::time_point_cast<std::chrono::milliseconds>(std::chrono::system_clock::now());
    const std::time_t second = std::chrono::system_clock::to_time_t(now);
    std::tm parts{};
    localtime_r(&second, &parts);
    std::array<char, 32> text{};
    const size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S.", &parts);
    const std::string milliseconds = std::to_string(1000 + now.time_since_epoch().count() % 1000);
    return std::string(text.data(), length) + milliseconds.substr(1);
}

}  // namespace ZYNE::Cli
