// The directory of a running device's bus: it belongs to the user, and to one daemon at a time.
#pragma once

#include <filesystem>
#include <string>

#include "linux/base/file_lock.h"

namespace ZYNE::Linux {

class RuntimeDirectory {
public:
    // Makes the directory, with mode 0700, and locks it. Waits a moment for the bus of an earlier daemon to end. Throws
    // std::runtime_error with one line when another daemon has the directory, or when it is not ours to use.
    explicit RuntimeDirectory(const std::filesystem::path& path);
    RuntimeDirectory(const RuntimeDirectory&) = delete;
    RuntimeDirectory& operator=(const RuntimeDirectory&) = delete;
    // Removes the lock, and the directory if it was made here and is empty.
    ~RuntimeDirectory();

    // Writes a file into it and makes the directories on the way. Throws std::runtime_error.
    void Write(const std::filesystem::path& name, const std::string& text) const;

    const std::filesystem::path& GetPath() const { return path_; }

    // The lock, for the bus daemon to inherit: it is free when both processes have ended.
    int GetBusLock() const { return lock_.Descriptor(); }

private:
    std::filesystem::path path_;
    bool made_;
    FileLock lock_;
};

}  // namespace ZYNE::Linux
