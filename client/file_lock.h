// A lock on a file, which the kernel releases when the process ends however it ends.
#pragma once

#include <filesystem>
#include <string>

namespace ZYNE::Client {

// Moved, not shared.
class FileLock {
public:
    // Takes the lock on `path`, which is created if need be, and notes the process in it, where the
    // disk has room. Not held when another has it.
    // Throws std::system_error when the file cannot be opened.
    explicit FileLock(const std::filesystem::path& path);
    FileLock(FileLock&& other) noexcept;
    FileLock& operator=(FileLock&&) = delete;
    ~FileLock();

    bool IsHeld() const { return descriptor_ >= 0; }

    // Whether some process holds the lock on `path`. Never takes it, so never in the way of a process that is starting.
    static bool IsHeldBySomebody(const std::filesystem::path& path);
    // The process that took the lock last; empty when that is not known.
    static std::string Holder(const std::filesystem::path& path);

private:
    int descriptor_ = -1;
};

}  // namespace ZYNE::Client
