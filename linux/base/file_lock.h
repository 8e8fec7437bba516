// A lock on a file. The kernel releases it when the last process that has it ends, however it ends.
#pragma once

#include <filesystem>
#include <string>

#include "linux/base/unique_fd.h"

namespace ZYNE::Linux {

// Moved, not shared; a process that inherits the descriptor has the lock as well.
class FileLock {
public:
    // Takes the lock on `path`, which is created if need be, and writes the process into it if the disk has room. Not
    // held when another has it. Throws std::system_error when the file cannot be opened.
    explicit FileLock(const std::filesystem::path& path);

    bool IsHeld() const { return static_cast<bool>(descriptor_); }
    int Descriptor() const { return descriptor_.Get(); }

    // Whether some process holds the lock on `path`. Does not take it, so it never gets in the way of a starting
    // process.
    static bool IsHeldBySomebody(const std::filesystem::path& path);
    // The process that last took the lock; empty when that is not known.
    static std::string Holder(const std::filesystem::path& path);

private:
    UniqueFd descriptor_;
};

}  // namespace ZYNE::Linux
