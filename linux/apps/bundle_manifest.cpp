#include "linux/apps/bundle_manifest.h"

#include <algorithm>
#include <set>
#include <stdexcept>

#include "linux/apps/extension_name.h"
#include "linux/base/json_file.h"
#include "linux/datashare/share_name.h"
#include "linux/datashare/share_providers.h"
#include "linux/services/bus_config.h"

namespace ZYNE::Linux {
namespace {

constexpr char FILE_NAME[] = "manifest.json";
constexpr size_t MAX_FILE_BYTES = 1u << 20;  // bytes
constexpr size_t MAX_CHANNEL_BYTES = 128;    // of a channel's name

// Names are logged, compared and made into bus names.
bool IsName(const std::string& name) {
    return !name.empty() && std::none_of(name.begin(), name.end(), [](char character) {
        return static_cast<unsigned char>(character) < ' ' || character == '\x7f';
    });
}

std::string ReadName(const Json::Value& json, const char* member) {
    std::string name = JsonString(json, member);
    if (!IsName(name)) {
        throw JsonError(json, std::string("\"") + member + "\" must be a name");
    }
    return name;
}

BundleAbility ReadAbility(const Json::Value& json) {
    BundleAbility ability;
    ability.name = ReadName(json, "name");
    ability.actions = JsonStrings(json, "actions");
    for (const Json::Value& entry : JsonObjects(json, "metadata")) {
        ability.metadata.push_back(
            {JsonString(entry, "name"), JsonString(entry, "value", ""), JsonString(entry, "resource", "")});
    }
    return ability;
}

BundleExtension ReadExtension(const Json::Value& json, const Bundle& bundle) {
    BundleExtension extension{ReadAbility(json), {}};
    extension.service.name = ExtensionBusName(bundle.bundleName, extension.name);
    extension.service.command = JsonStrings(json, "exec");
    if (extension.service.name.empty()) {
        throw JsonError(json, "the names of extension \"" + extension.name + "\" are too long");
    }
    if (extension.service.command.empty()) {
        throw JsonError(json, "extension \"" + extension.name + "\" has no \"exec\"");
    }
    std::string& executable = extension.service.command.front();
    executable = (bundle.folder / executable).lexically_normal().native();
    CheckService(extension.service);
    return extension;
}

// An app cannot declare the system's settings as its own.
std::vector<std::string> ReadDataShares(const Json::Value& root) {
    std::vector<std::string> shares = JsonStrings(root, "dataShares");
    for (const std::string& share : shares) {
        const std::optional<ShareName> name = ParseShareName(share);
        if (!name || name->path != share || share.ends_with('/') || IsAtOrBelow(ShareProviders::SETTINGS, share) ||
            IsAtOrBelow(share, ShareProviders::SETTINGS)) {
            throw JsonError(
                root["dataShares"], "\"dataShares\" must name data of the app such as datashare:///org.example.app");
        }
    }
    return shares;
}

std::vector<std::string> ReadChannels(const Json::Value& root) {
    std::vector<std::string> channels = JsonStrings(root, "channels");
    for (const std::string& channel : channels) {
        if (!IsName(channel) || channel.size() > MAX_CHANNEL_BYTES) {
            throw JsonError(root["channels"], "\"channels\" must be names of at most 128 bytes");
        }
    }
    return channels;
}

void ReadAbilities(const Json::Value& root, Bundle& bundle) {
    std::set<std::string> names;
    for (const Json::Value& json : JsonObjects(root, "abilities")) {
        names.insert(bundle.abilities.emplace_back(ReadAbility(json)).name);
    }
    for (const Json::Value& json : JsonObjects(root, "extensions")) {
        names.insert(bundle.extensions.emplace_back(ReadExtension(json, bundle)).name);
    }
    if (names.size() != bundle.abilities.size() + bundle.extensions.size()) {
        throw JsonError(root, "two abilities or extensions have the same name");
    }
}

}  // namespace

Bundle ReadManifest(const std::filesystem::path& folder) {
    const JsonFile file = ReadJsonFile(folder / FILE_NAME, MAX_FILE_BYTES);
    const Json::Value& root = file.root;
    Bundle bundle;
    bundle.folder = std::filesystem::absolute(folder);
    try {
        bundle.bundleName = ReadName(root, "bundleName");
        bundle.label = JsonString(root, "label", "");
        bundle.version = JsonString(root, "version", "");
        bundle.enabled = JsonBool(root, "enabled", true);
        bundle.user = JsonInt(root, "user", DEVICE_USER);
        bundle.dataShares = ReadDataShares(root);
        bundle.channels = ReadChannels(root);
        ReadAbilities(root, bundle);
    } catch (const JsonError& error) {
        throw std::runtime_error(file.Place(error.Offset()) + error.what());
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(file.path.native() + ": " + error.what());
    }
    return bundle;
}

}  // namespace ZYNE::Linux
