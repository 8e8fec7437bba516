#include "host/config.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <stdexcept>
#include <string_view>
#include <utility>

#include <toml++/toml.h>

#include "host/closest_name.h"
#include "host/config_table.h"
#include "host/device_type_name.h"
#include "host/key_names.h"
#include "host/peer_address.h"
#include "platform/log/printable_text.h"

namespace ZYNE::Host {
namespace {

using Linux::FabricOptions;
using Linux::LogTarget;
namespace fs = std::filesystem;

// A device's name is also a file name, and is part of each announcement.
constexpr size_t MAX_NAME_BYTES = 63;
constexpr const char* LOOPBACK = "lo";
constexpr const char* ALL_INTERFACES = "auto";
constexpr size_t MAX_INTERFACE_BYTES = 15;  // the kernel's limit
constexpr size_t MAX_WORD_BYTES = 63;
constexpr uint32_t LAST_PORT = 65535;
constexpr uint32_t LAST_USER = INT32_MAX;
constexpr size_t MAX_USERS = 100;
constexpr uint32_t ANSWER_TIME = 500;  // in milliseconds, as the next two
constexpr uint32_t LEAST_ANSWER_TIME = 50;
constexpr uint32_t MAX_ANSWER_TIME = 8000;
constexpr uint32_t SCRIPTED_WIDTH = 1920;
constexpr uint32_t SCRIPTED_HEIGHT = 1080;
constexpr uint32_t MAX_PIXELS = 32767;
constexpr const char* HOME_KEYS = "ctrl+alt+escape";

template <typename Value>
using Word = std::pair<std::string_view, Value>;

constexpr std::array<Word<FabricOptions::Trust>, 2> ACCOUNT_MODES{
    {{"account", FabricOptions::Trust::ACCOUNT}, {"open", FabricOptions::Trust::OPEN}}};
constexpr std::array<Word<OsAccountType>, 2> USER_TYPES{
    {{"normal", OsAccountType::NORMAL}, {"private", OsAccountType::PRIVATE}}};
constexpr std::array<Word<LogLevel>, 4> LOG_LEVELS{
    {{"debug", LogLevel::DEBUG}, {"info", LogLevel::INFO}, {"warning", LogLevel::WARN}, {"error", LogLevel::ERROR}}};
constexpr std::array<Word<LogTarget>, 4> LOG_TARGETS{{{"auto", LogTarget::AUTOMATIC}, {"journal", LogTarget::JOURNAL},
    {"stderr", LogTarget::STDERR}, {"none", LogTarget::NONE}}};

void CheckName(const ConfigTable& table, const std::string& key, const std::string& name) {
    std::string printable;
    AppendPrintable(printable, name);
    if (name.empty() || name.size() > MAX_NAME_BYTES || name.front() == '.' || printable != name ||
        name.find('/') != std::string::npos) {
        table.Fail(key,
            "must have 1 to " + std::to_string(MAX_NAME_BYTES) +
                " bytes of printable text without a slash and without a dot in front");
    }
}

void CheckWord(const ConfigTable& table, const std::string& key, const std::string& word, size_t mostBytes) {
    constexpr std::string_view ALLOWED = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._:-";
    if (word.size() > mostBytes || word.find_first_not_of(ALLOWED) != std::string::npos) {
        table.Fail(key, "may hold letters, digits and . _ : - only, at most " + std::to_string(mostBytes));
    }
}

void CheckExists(const ConfigTable& table, const std::string& key, const fs::path& path, fs::file_type type) {
    std::error_code error;
    if (!path.empty() && fs::status(path, error).type() != type) {
        table.Fail(key, path.string() + (type == fs::file_type::directory ? " is not a directory" : " is not a file"));
    }
}

void ReadDevice(const toml::table& root, const fs::path& file, Config& config) {
    ConfigTable table(root, file, "device");
    table.Require("name");
    config.fabric.deviceName = table.String("name", "");
    CheckName(table, "name", config.fabric.deviceName);
    table.Require("type");
    config.fabric.deviceType = table.Choice("type", DEVICE_TYPES, "");
    table.Require("state_directory");
    config.stateDirectory = table.Path("state_directory");
    config.systemRoot = table.Path("system_root");
    CheckExists(table, "system_root", config.systemRoot, fs::file_type::directory);
    table.RefuseOthers();
}

void ReadAccount(const toml::table& root, const fs::path& file, FabricOptions& fabric) {
    ConfigTable table(root, file, "account");
    table.Require("mode");
    fabric.trust = table.Choice("mode", ACCOUNT_MODES, "");
    if (fabric.trust == FabricOptions::Trust::OPEN) {
        table.Require("name");
        fabric.accountName = table.String("name", "");
        CheckName(table, "name", fabric.accountName);
    } else {
        table.Require("credentials");
        fabric.credentials = table.Path("credentials");
        CheckExists(table, "credentials", fabric.credentials, fs::file_type::directory);
    }
    table.RefuseOthers();
}

std::vector<std::string> ReadInterfaces(ConfigTable& table) {
    const std::string key = "interface";
    std::vector<std::string> names = table.StringOrStrings(key, {LOOPBACK});
    for (const std::string& name : names) {
        CheckWord(table, key, name, MAX_INTERFACE_BYTES);
        if (std::ranges::count(names, name) > 1) {
            table.Fail(key, "names " + name + " twice");
        }
        if (name == ALL_INTERFACES && names.size() > 1) {
            table.Fail(key, "may be \"auto\" alone, which stands for all, or name interfaces");
        }
    }
    if (names.empty() || std::ranges::count(names, "") > 0) {
        table.Fail(key, "must name an interface");
    }
    return names;
}

std::vector<Linux::PeerAddress> ReadPeers(ConfigTable& table) {
    std::vector<Linux::PeerAddress> peers;
    for (const std::string& peer : table.Strings("peers", {})) {
        try {
            peers.push_back(ReadPeerAddress(peer));
        } catch (const std::invalid_argument& error) {
            std::string problem = "has \"";
            AppendPrintable(problem, peer);
            table.Fail("peers", problem + "\", which " + error.what());
        }
    }
    return peers;
}

// Keys that files of an earlier version may have.
void RefuseOldKeys(const ConfigTable& table) {
    constexpr std::array<Word<const char*>, 3> OLD_KEYS{{{"domain", "has gone: port and beacon_port took its place"},
        {"tag", "has gone: only devices of one account meet"}, {"multicast", "has gone: beacon took its place"}}};
    for (const auto& [key, whatInstead] : OLD_KEYS) {
        if (table.Has(std::string(key))) {
            table.Fail(std::string(key), whatInstead);
        }
    }
}

void ReadNetwork(const toml::table& root, const fs::path& file, Config& config) {
    FabricOptions& fabric = config.fabric;
    ConfigTable table(root, file, "network");
    RefuseOldKeys(table);
    fabric.interfaces = ReadInterfaces(table);
    config.interfacePlace = table.Place("interface");
    fabric.peers = ReadPeers(table);
    fabric.port = static_cast<uint16_t>(table.Number("port", Linux::DEFAULT_PORT, LAST_PORT));
    fabric.mayUseOtherPort = !table.Has("port");
    fabric.hasBeacon = table.Bool("beacon", true);
    fabric.beaconPort = static_cast<uint16_t>(table.Number("beacon_port", Linux::DEFAULT_BEACON_PORT, LAST_PORT));
    if (fabric.beaconPort == 0) {
        table.Fail("beacon_port", "must be at least 1: all devices use the same");
    }
    if (fabric.peers.empty() && !fabric.hasBeacon) {
        table.Fail("peers", "must name a host, or beacon must be true: no device would be found");
    }
    table.RefuseOthers();
}

void ReadApps(const toml::table& root, const fs::path& file, Config& config) {
    ConfigTable table(root, file, "apps");
    config.appsDirectory = table.Path("directory");
    CheckExists(table, "directory", config.appsDirectory, fs::file_type::directory);
    config.answerTime = std::chrono::milliseconds(table.Number("answer_time", ANSWER_TIME, MAX_ANSWER_TIME));
    if (config.answerTime.count() < LEAST_ANSWER_TIME) {
        table.Fail("answer_time", "must be at least " + std::to_string(LEAST_ANSWER_TIME) + " milliseconds");
    }
    table.RefuseOthers();
}

void ReadServices(const toml::table& root, const fs::path& file, Config& config) {
    ConfigTable table(root, file, "services");
    config.serviceTable = table.Path("table");
    CheckExists(table, "table", config.serviceTable, fs::file_type::regular);
    table.RefuseOthers();
}

Linux::User ReadUser(ConfigTable& table) {
    Linux::User user;
    table.Require("id");
    user.id = static_cast<int32_t>(table.Number("id", 0, LAST_USER));
    table.Require("name");
    user.name = table.String("name", "");
    CheckName(table, "name", user.name);
    user.type = table.Choice("type", USER_TYPES, "normal");
    table.RefuseOthers();
    return user;
}

std::vector<Linux::User> ReadUsers(const toml::table& root, const fs::path& file) {
    std::vector<Linux::User> users;
    for (ConfigTable& table : ConfigTable::ReadArray(root, file, "user")) {
        Linux::User user = ReadUser(table);
        if (std::ranges::find(users, user.id, &Linux::User::id) != users.end()) {
            table.Fail("id", std::to_string(user.id) + " is another user's");
        }
        if (users.size() == MAX_USERS) {
            table.Fail("id", "is one too many: there may be " + std::to_string(MAX_USERS) + " users");
        }
        users.push_back(std::move(user));
    }
    if (users.empty()) {
        users.push_back({100, "User", OsAccountType::NORMAL});
    }
    return users;
}

int32_t ReadPixels(ConfigTable& table, const std::string& key, uint32_t byDefault) {
    const uint32_t pixels = table.Number(key, byDefault, MAX_PIXELS);
    if (pixels == 0) {
        table.Fail(key, "must be at least one pixel");
    }
    return static_cast<int32_t>(pixels);
}

void ReadInput(const toml::table& root, const fs::path& file, Config& config) {
    ConfigTable table(root, file, "input");
    config.input.display = table.String("display", "");
    CheckWord(table, "display", config.input.display, MAX_WORD_BYTES);
    config.input.scripted = table.Bool("scripted", false);
    if (config.input.scripted && !config.input.display.empty()) {
        table.Fail("display", "cannot be given when the input is scripted");
    }
    config.scriptedDisplay.name = "scripted";
    config.scriptedDisplay.width = ReadPixels(table, "width", SCRIPTED_WIDTH);
    config.scriptedDisplay.height = ReadPixels(table, "height", SCRIPTED_HEIGHT);
    table.RefuseOthers();
}

void ReadDesk(const toml::table& root, const fs::path& file, DeskOptions& desk) {
    ConfigTable table(root, file, "desk");
    desk.push = static_cast<int32_t>(table.Number("push", 0, MAX_PIXELS));
    desk.corner = static_cast<int32_t>(table.Number("corner", 0, MAX_PIXELS));
    const std::string modifier = table.String("modifier", "");
    desk.modifier = KeysOfName(modifier);
    if (!modifier.empty() && desk.modifier.size() != 2) {
        table.Fail("modifier", "must be shift, ctrl, alt or super");
    }
    desk.drags = table.Bool("drags", false);
    const auto homeKeys = ReadKeyCombination(table.String("home_keys", HOME_KEYS));
    if (!homeKeys || homeKeys->size() < 2) {
        table.Fail("home_keys", "must be two keys or more joined by +, such as \"ctrl+alt+escape\"");
    }
    desk.homeKeys = *homeKeys;
    desk.clipboard = table.Bool("clipboard", true);
    table.RefuseOthers();
}

void ReadLog(const toml::table& root, const fs::path& file, Linux::LogOptions& log) {
    ConfigTable table(root, file, "log");
    log.level = table.Choice("level", LOG_LEVELS, "info");
    log.target = table.Choice("target", LOG_TARGETS, "auto");
    log.showPrivate = table.Bool("show_private", false);
    table.RefuseOthers();
}

void RefuseOtherTables(const toml::table& root, const fs::path& file) {
    static const std::vector<std::string> KNOWN{
        "device", "account", "network", "apps", "services", "user", "input", "desk", "log"};
    for (const auto& [key, node] : root) {
        if (std::ranges::find(KNOWN, key.str()) == KNOWN.end()) {
            throw ConfigError(file.string() + ":" + std::to_string(node.source().begin.line) + ": " +
                std::string(key.str()) + " is not a known " + (node.is_table() ? "table" : "key") +
                DidYouMean(key.str(), KNOWN));
        }
    }
}

toml::table Parse(const fs::path& file) {
    std::error_code error;
    if (fs::status(file, error).type() != fs::file_type::regular) {
        throw ConfigError(file.string() + ": " + (error ? error.message() : "is not a file"));
    }
    try {
        return toml::parse_file(file.string());
    } catch (const toml::parse_error& problem) {
        throw ConfigError(file.string() + ":" + std::to_string(problem.source().begin.line) + ": " +
            std::string(problem.description()));
    }
}

}  // namespace

Config ReadConfig(const fs::path& file) {
    const toml::table root = Parse(file);
    RefuseOtherTables(root, file);
    Config config;
    ReadDevice(root, file, config);
    ReadAccount(root, file, config.fabric);
    ReadNetwork(root, file, config);
    ReadApps(root, file, config);
    ReadServices(root, file, config);
    config.users = ReadUsers(root, file);
    ReadInput(root, file, config);
    ReadDesk(root, file, config.desk);
    ReadLog(root, file, config.log);
    return config;
}

}  // namespace ZYNE::Host
