#include "tests/scenario/test_device.h"

#include <algorithm>
#include <csignal>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace ZYNE::Testing {
namespace fs = std::filesystem;
namespace {

void Write(const fs::path& file, const std::string& text) {
    fs::create_directories(file.parent_path());
    std::ofstream(file) << text;
}

void MustSucceed(const std::vector<std::string>& command) {
    const Outcome outcome = RunCommand(command);
    if (outcome.status != 0) {
        throw std::runtime_error(command[1] + " failed: " + outcome.err);
    }
}

std::string Quoted(const fs::path& text) {
    return "\"" + text.string() + "\"";
}

}  // namespace

size_t Count(const std::string& text, const std::string& wanted) {
    size_t count = 0;
    for (size_t at = text.find(wanted); at != std::string::npos; at = text.find(wanted, at + 1)) {
        ++count;
    }
    return count;
}

std::string ReadAll(const fs::path& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

TestDevice::TestDevice(fs::path directory, std::string name, const DeviceSetup& setup)
    : directory_(std::move(directory)), name_(std::move(name)), launcher_(setup.launcher) {
    std::string config = "[device]\nname = " + Quoted(name_) + "\ntype = " + Quoted(setup.type) +
        "\nstate_directory = \"state\"\nsystem_root = \"root\"\n";
    if (setup.open) {
        config += "[account]\nmode = \"open\"\nname = " + Quoted(setup.account) + "\n";
    } else {
        config += "[account]\nmode = \"account\"\ncredentials = \"credentials\"\n";
        const fs::path account = directory_.parent_path() / ("account-" + setup.account);
        if (!fs::exists(account)) {
            MustSucceed({COLLABCTL, "account", "create", account, "--name", setup.account});
        }
        fs::create_directories(directory_);
        MustSucceed({COLLABCTL, "device", "enroll", "--account", account, "--directory", directory_ / "credentials"});
    }
    config += "[network]\n" + setup.network + "[log]\ntarget = \"none\"\nlevel = " + Quoted(setup.logLevel) + "\n";
    fs::create_directories(directory_ / "root");
    config += InstallApps(setup) + setup.config;
    Write(ConfigFile(), config);
}

// The tables of the configuration that tell of them.
std::string TestDevice::InstallApps(const DeviceSetup& setup) const {
    fs::create_directories(directory_ / "apps");
    if (setup.hasBoard) {
        fs::create_directory_symlink(BOARD_BUNDLE, directory_ / "apps/org.example.deskboard");
    }
    if (setup.hasCompanion) {
        fs::create_directory_symlink(COMPANION_BUNDLE, directory_ / "apps/com.talvex.peerdesk");
    }
    std::string tables = "[apps]\ndirectory = \"apps\"\n";
    if (setup.hasTestProvider) {
        WriteProvider();
        tables += "[services]\ntable = \"services.json\"\n";
    }
    return tables;
}

// The files through which the library, the bus and the app manager know the test provider.
void TestDevice::WriteProvider() const {
    std::string serviceItems;
    for (const char* name : {"hello", "pid", "detach", "die", "slow", "late", "exact", "oversize", "notJson", "deep",
             "wrongTypes", "noValue", "duplicates", "notAParcel"}) {
        serviceItems += std::string(serviceItems.empty() ? "" : ", ") + "{\"service." + name + "\": \"\"}";
    }
    Write(directory_ / "root/system/etc/CollaborationFwk/requestSaPre.json",
        R"({"info_config": [{"sa_id": 90100, "sa_descriptor": "test.IProvider", "cmdCode_id": 7, "static_info": [],
            "dynamic_info": [)" +
            serviceItems + "]}]}");
    Write(directory_ / "services.json",
        R"({"abilities": [{"id": 90100, "busName": "test.Provider", "exec": [")" TEST_PROVIDER R"("]}]})");
    std::string appItems;
    for (const char* name : {"hello", "pid", "die"}) {
        appItems += std::string(appItems.empty() ? "" : ", ") + "{\"app." + name +
            R"(": {"serviceExtensionAbilityName": "Provider", "commandCode": "1f", "variable": "", "dataShareUri": ""}})";
    }
    Write(directory_ / "apps/test.app/resources/profile/info.json",
        R"({"static_info": {}, "dynamic_info": [)" + appItems + "]}");
    Write(directory_ / "apps/test.app/manifest.json",
        R"({"bundleName": "test.app", "extensions": [{"name": "Provider", "exec": [")" TEST_PROVIDER R"(", "app"],
            "actions": ["com.varn.collaborationFwk.infoCollection.setting"], "metadata": [
            {"name": "collaborationFwk.infoCollection.configFile", "resource": "$profile:info"}]}]})");
}

void TestDevice::Start() {
    std::vector<std::string> command = launcher_;
    command.insert(command.end(), {COLLABD, "--config", ConfigFile()});
    process_ = std::make_unique<Process>(command, OutputFile());
    const bool isUp = Eventually([this] {
        const auto entry = Entry();
        return process_->HasEnded() || (entry && entry->running && !entry->busAddress.empty());
    });
    if (!isUp || process_->HasEnded()) {
        throw std::runtime_error(name_ + " does not start: " + ReadAll(OutputFile()));
    }
}

int TestDevice::Stop(std::chrono::seconds limit) {
    if (process_ == nullptr) {
        return 0;
    }
    process_->Signal(SIGTERM);
    if (!Eventually([this] { return process_->HasEnded(); }, limit)) {
        process_->Signal(SIGKILL);
    }
    const int status = process_->Wait();
    process_ = nullptr;
    return status;
}

void TestDevice::Kill() {
    process_ = nullptr;
}

Outcome TestDevice::Ctl(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), {COLLABCTL, "--device", name_});
    return RunCommand(arguments);
}

Client::InfoAnswer TestDevice::Ask(const std::string& peer, const std::vector<std::string>& names) const {
    return Api().Info().Get(peer, names);
}

std::string TestDevice::AskOne(const std::string& peer, const std::string& name) const {
    const Client::InfoAnswer answer = Ask(peer, {name});
    if (answer.code != 0) {
        throw std::runtime_error(name + " is not answered: " + std::to_string(answer.code));
    }
    return answer.records.front().second;
}

bool TestDevice::ListsAs(const std::string& peer, bool online) const {
    const auto peers = Api().Info().ListPeers();
    return std::any_of(peers.begin(), peers.end(),
        [&](const Client::Peer& known) { return known.name == peer && known.online == online; });
}

bool TestDevice::Lists(const std::string& peer) const {
    return ListsAs(peer, true) || ListsAs(peer, false);
}

std::string TestDevice::Udid() const {
    const std::string text = ReadAll(directory_ / "credentials" / "udid");
    return text.substr(0, text.find('\n'));
}

size_t TestDevice::CountInLog(const std::string& text) const {
    return Count(ReadAll(directory_ / "state" / "device.log"), text);
}

size_t TestDevice::CountInOutput(const std::string& text) const {
    return Count(ReadAll(OutputFile()), text);
}

}  // namespace ZYNE::Testing
