// The directory that a running device keeps its bus in: the user's own, and of one daemon at a time.
#pragma once

#include <filesystem>
#include <string>

#include "linux/base/unique_fd.h"

namespace ZYNE::Linux {

class RuntimeDirectory {
public:
    // Makes the directory, with mode 0700, and locks it. Throws std::runtime_error with one line when another daemon
    // has it, or when it is not ours to use.
    explicit RuntimeDirectory(const std::filesystem::path& path);
    RuntimeDirectory(const RuntimeDirectory&) = delete;
    RuntimeDirectory& operator=(const RuntimeDirectory&) = delete;
    // Removes the locks, and the directory if it was made here and is empty.
    ~RuntimeDirectory();

    // Writes a file into it, below which directories are made. Throws std::runtime_error.
    void Write(const std::filesystem::path& name, const std::string& text) const;

    const std::filesystem::path& GetPath() const { return path_; }

    // A second lock, which the bus daemon inherits: it is free when the last one's process has ended.
    int GetBusLock() const { return busLock_.Get(); }

private:
    std::filesystem::path path_;
    bool made_;
    UniqueFd lock_;
    UniqueFd busLock_;
};

}  // namespace ZYNE::Linux
