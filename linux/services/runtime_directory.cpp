#include "linux/services/runtime_directory.h"

#include <chrono>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <thread>

#include "linux/base/own_directory.h"

namespace ZYNE::Linux {
namespace {

constexpr char LOCK[] = "bus.lock";

// When a daemon is killed, its bus is told to end at the same moment.
constexpr std::chrono::seconds PREDECESSOR_TIME{5};

FileLock WaitForLock(const std::filesystem::path& path) {
    const auto deadline = std::chrono::steady_clock::now() + PREDECESSOR_TIME;
    for (;;) {
        FileLock lock(path);
        if (lock.IsHeld()) {
            return lock;
        }
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error(
                "another daemon, or the bus of an earlier one, is running in " + path.parent_path().native());
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

}  // namespace

RuntimeDirectory::RuntimeDirectory(const std::filesystem::path& path)
    : path_(std::filesystem::absolute(path)), made_(EnsureOwnDirectory(path_)), lock_(WaitForLock(path_ / LOCK)) {}

RuntimeDirectory::~RuntimeDirectory() {
    std::error_code ignored;
    std::filesystem::remove(path_ / LOCK, ignored);
    if (made_) {
        std::filesystem::remove(path_, ignored);
    }
}

void RuntimeDirectory::Write(const std::filesystem::path& name, const std::string& text) const {
    const std::filesystem::path path = path_ / name;
    std::error_code error;
    std::filesystem::create_directories(path.parent_path(), error);
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    file.close();
    if (!file) {
        throw std::runtime_error("cannot write " + path.native());
    }
}

}  // namespace ZYNE::Linux
