// What brings the pointer from one display to another: two devices of ours, or barrier.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tests/scenario/process.h"
#include "tests/scenario/test_device.h"

namespace ZYNE::Bench {

// Runs for as long as the object lives. Of two displays the second lies to the right of the first.
class CrossingProgram {
public:
    virtual ~CrossingProgram() = default;
    // All processes that it has now.
    virtual std::vector<pid_t> Processes() const = 0;
};

// In account mode: two daemons, and what they start.
class OwnDevices final : public CrossingProgram {
public:
    struct Place {
        std::string display;
        std::vector<std::string> launcher{};                     // see DeviceSetup
        std::string network = "interface = \"lo\"\nport = 0\n";  // likewise
    };

    // Keeps what it needs in `directory`.
    OwnDevices(const std::filesystem::path& directory, const Place& left, const Place& right);
    ~OwnDevices() override;

    std::vector<pid_t> Processes() const override;

private:
    Testing::TestDevice left_;
    Testing::TestDevice right_;
};

// Debian's package of that name.
class Barrier final : public CrossingProgram {
public:
    enum class Crypto { OFF, ON };
    Barrier(const std::filesystem::path& directory, const std::string& left, const std::string& right, Crypto crypto);

    std::vector<pid_t> Processes() const override { return {server_->Pid(), client_->Pid()}; }

private:
    std::unique_ptr<Testing::Process> server_;
    std::unique_ptr<Testing::Process> client_;
};

}  // namespace ZYNE::Bench
