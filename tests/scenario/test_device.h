// A real device on loopback: a collabd with a bus and directories of its own.
#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "client/device.h"
#include "tests/scenario/process.h"

namespace ZYNE::Testing {

// What a device is made with. All has a working default.
struct DeviceSetup {
    std::string type = "pc";
    std::string account = "home";  // the account that enrolled it
    bool open = false;             // no certificates; `account` is but a name
    bool hasTestProvider = false;  // the service and the app of test_provider.cpp
    bool hasBoard = false;         // the sample app with a board
    bool hasCompanion = false;     // the sample app that carries out crossing
    std::string config{};          // further tables of its configuration
    std::string logLevel = "info";
    // The keys of its table [network].
    std::string network = "interface = \"lo\"\nport = 0\n";
    // What starts the daemon, and becomes it, with the words that stand before the daemon's own.
    std::vector<std::string> launcher{};
};

class TestDevice {
public:
    TestDevice(std::filesystem::path directory, std::string name, const DeviceSetup& setup);

    // Starts it and waits until it can be asked.
    void Start();
    // SIGTERM, and waits for the end, then kills it; the exit status. 0 when it does not run.
    int Stop(std::chrono::seconds limit = std::chrono::seconds(30));
    void Kill();
    // To the daemon, which runs.
    void Signal(int signal) const { process_->Signal(signal); }
    pid_t Pid() const { return process_->Pid(); }

    // collabctl --device NAME arguments...
    Outcome Ctl(std::vector<std::string> arguments) const;
    // A connection to the device's API.
    Client::Device Api() const { return Client::Device(*Entry(), std::chrono::seconds(60)); }
    // One info request over the device's API.
    Client::InfoAnswer Ask(const std::string& peer, const std::vector<std::string>& names) const;
    // The value of one item. Throws when the peer does not answer.
    std::string AskOne(const std::string& peer, const std::string& name) const;

    // Whether it lists `peer` as online, or as offline.
    bool Sees(const std::string& peer) const { return ListsAs(peer, true); }
    bool MissesPeer(const std::string& peer) const { return ListsAs(peer, false); }
    bool Lists(const std::string& peer) const;

    std::string Udid() const;
    size_t CountInLog(const std::string& text) const;
    // The same in what the device and its apps print.
    size_t CountInOutput(const std::string& text) const;
    const std::string& Name() const { return name_; }
    const std::filesystem::path& Directory() const { return directory_; }
    std::filesystem::path OutputFile() const { return directory_ / "output.txt"; }
    std::filesystem::path ConfigFile() const { return directory_ / "collabd.toml"; }
    std::optional<Client::DeviceEntry> Entry() const { return Client::FindDevice(name_); }

private:
    bool ListsAs(const std::string& peer, bool online) const;
    std::string InstallApps(const DeviceSetup& setup) const;
    void WriteProvider() const;

    const std::filesystem::path directory_;
    const std::string name_;
    const std::vector<std::string> launcher_;
    std::unique_ptr<Process> process_;
};

// How often `wanted` is in `text`.
size_t Count(const std::string& text, const std::string& wanted);

// The whole of a file; empty when there is none.
std::string ReadAll(const std::filesystem::path& file);

}  // namespace ZYNE::Testing
