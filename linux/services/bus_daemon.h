// The bus daemon of one device: a child process.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>

namespace ZYNE::Linux {

class BusDaemon {
public:
    // Starts it and returns when it accepts clients. It ends together with the thread that calls this, also when the
    // process is killed, and keeps `heldFd` open until then. Throws std::runtime_error with one line.
    BusDaemon(const std::filesystem::path& configFile, int heldFd);
    BusDaemon(const BusDaemon&) = delete;
    BusDaemon& operator=(const BusDaemon&) = delete;
    // Ends it and waits for it.
    ~BusDaemon();

    const std::string& GetAddress() const { return address_; }
    pid_t GetPid() const { return pid_; }

private:
    pid_t pid_;
    std::string address_;
};

}  // namespace ZYNE::Linux
