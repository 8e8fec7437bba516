#include "host/config_check.h"

#include <algorithm>
#include <exception>
#include <functional>
#include <set>
#include <stdexcept>

#include <net/if.h>
#include <unistd.h>

#include "host/closest_name.h"
#include "linux/apps/bundle_manifest.h"
#include "linux/base/json_file.h"
#include "linux/network/discovery/network_interface.h"
#include "linux/network/fabric_identity.h"
#include "linux/services/system_ability_table.h"

namespace ZYNE::Host {
namespace {

using Linux::JsonFile;
using Linux::JsonObjects;
namespace fs = std::filesystem;

constexpr size_t MAX_FILE_BYTES = 4u << 20;  // bytes
constexpr size_t MAX_PROVIDERS = 1024;       // of the provider file
constexpr const char* PROVIDER_FILE = "/system/etc/CollaborationFwk/requestSaPre.json";

class ConfigCheck {
public:
    explicit ConfigCheck(const Config& config) : config_(config) {}

    std::vector<std::string> Run() {
        CheckCredentials();
        CheckInterfaces();
        Try([this] { CheckTable(); });
        Try([this] { CheckProviders(); });
        CheckApps();
        return std::move(mistakes_);
    }

private:
    void Try(const std::function<void()>& check) {
        try {
            check();
        } catch (const std::exception& error) {
            mistakes_.emplace_back(error.what());
        }
    }

    void Add(const JsonFile& file, const Json::Value& where, const std::string& problem) {
        mistakes_.push_back(file.Place(static_cast<size_t>(where.getOffsetStart())) + problem);
    }

    void CheckCredentials() {
        if (config_.fabric.trust == Linux::FabricOptions::Trust::ACCOUNT) {
            Try([this] { const Linux::FabricIdentity identity(config_.fabric); });
        }
    }

    void CheckInterfaces() {
        for (const std::string& name : config_.fabric.interfaces) {
            if (name != Linux::NetworkInterface::AUTOMATIC && if_nametoindex(name.c_str()) == 0) {
                mistakes_.push_back(config_.interfacePlace + ": this machine has no interface " + name);
            }
        }
    }

    void CheckMembers(const JsonFile& file, const Json::Value& object, const std::vector<std::string>& known) {
        for (const std::string& name : object.getMemberNames()) {
            if (std::ranges::find(known, name) == known.end()) {
                Add(file, object[name], "\"" + name + "\" is not a known key" + DidYouMean(name, known));
            }
        }
    }

    void CheckCommand(const JsonFile& file, const Json::Value& owner) {
        const std::vector<std::string> command = Linux::JsonStrings(owner, "exec");
        if (command.empty()) {
            return;
        }
        const fs::path executable = fs::absolute(file.path).parent_path() / command.front();
        if (access(executable.c_str(), X_OK) != 0 || !fs::is_regular_file(executable)) {
            Add(file, owner["exec"], executable.lexically_normal().native() + " cannot be run");
        }
    }

    void CheckTable() {
        if (config_.serviceTable.empty()) {
            return;
        }
        for (const auto& [id, entry] : Linux::ReadSystemAbilityTable(config_.serviceTable)) {
            services_.insert(static_cast<uint32_t>(id));
        }
        const JsonFile file = Linux::ReadJsonFile(config_.serviceTable, MAX_FILE_BYTES);
        CheckMembers(file, file.root, {"abilities"});
        for (const Json::Value& ability : JsonObjects(file.root, "abilities")) {
            CheckMembers(file, ability, {"id", "busName", "exec", "path"});
            CheckCommand(file, ability);
        }
    }

    void CheckProviders() {
        const fs::path path = config_.systemRoot.native() + PROVIDER_FILE;
        if (!fs::exists(path)) {
            return;  // a device need not have one
        }
        const JsonFile file = Linux::ReadJsonFile(path, MAX_FILE_BYTES);
        CheckMembers(file, file.root, {"info_config"});
        const std::vector<Json::Value> providers = JsonObjects(file.root, "info_config");
        if (providers.size() > MAX_PROVIDERS) {
            Add(file, file.root["info_config"], "there may be " + std::to_string(MAX_PROVIDERS) + " providers");
        }
        for (const Json::Value& provider : providers) {
            CheckProvider(file, provider);
        }
    }

    void CheckProvider(const JsonFile& file, const Json::Value& provider) {
        CheckMembers(file, provider, {"sa_id", "sa_descriptor", "cmdCode_id", "static_info", "dynamic_info"});
        for (const char* number : {"sa_id", "cmdCode_id"}) {
            if (!provider[number].isUInt()) {
                Add(file, provider, std::string("\"") + number + "\" must be a whole number that is not negative");
            }
        }
        if (!provider["sa_descriptor"].isString()) {
            Add(file, provider, "\"sa_descriptor\" must be a string");
        }
        for (const char* list : {"static_info", "dynamic_info"}) {
            if (!provider[list].isArray()) {
                Add(file, provider, std::string("\"") + list + "\" must be an array of objects");
            }
        }
        if (provider["sa_id"].isUInt() && !services_.contains(provider["sa_id"].asUInt())) {
            Add(file, provider["sa_id"], "the table of system services has no service " + provider["sa_id"].asString());
        }
    }

    void CheckApps() {
        if (config_.appsDirectory.empty()) {
            return;
        }
        std::set<std::string> names;
        for (const fs::directory_entry& entry : fs::directory_iterator(config_.appsDirectory)) {
            Try([&] {
                if (entry.is_directory() && !names.insert(CheckApp(entry.path())).second) {
                    throw std::runtime_error(entry.path().native() + ": the app is installed in another folder, too");
                }
            });
        }
    }

    // Its name.
    std::string CheckApp(const fs::path& folder) {
        const Linux::Bundle bundle = Linux::ReadManifest(folder);
        const JsonFile file = Linux::ReadJsonFile(folder / "manifest.json", MAX_FILE_BYTES);
        CheckMembers(file, file.root,
            {"bundleName", "label", "version", "enabled", "user", "dataShares", "abilities", "extensions"});
        for (const char* kind : {"abilities", "extensions"}) {
            for (const Json::Value& ability : JsonObjects(file.root, kind)) {
                CheckMembers(file, ability, {"name", "exec", "actions", "metadata"});
                for (const Json::Value& metadata : JsonObjects(ability, "metadata")) {
                    CheckMembers(file, metadata, {"name", "value", "resource"});
                }
                CheckCommand(file, ability);
            }
        }
        return bundle.bundleName;
    }

    const Config& config_;
    std::set<uint32_t> services_;
    std::vector<std::string> mistakes_;
};

}  // namespace

std::vector<std::string> FindMistakes(const Config& config) {
    return ConfigCheck(config).Run();
}

}  // namespace ZYNE::Host
