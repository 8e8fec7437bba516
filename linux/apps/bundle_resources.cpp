// The resource files of installed apps.
#include <algorithm>
#include <exception>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string_view>

#include "linux/apps/bundle_manager.h"
#include "linux/base/json_file.h"
#include "linux/base/log_domains.h"
#include "platform/bundle/bundle_mgr_client.h"
#include "platform/log/log_print.h"

namespace ZYNE {
namespace {

constexpr LogDomain LOG = Linux::LogDomains::APPS;
constexpr std::string_view PROFILE_MARK = "$profile:";
constexpr size_t LARGEST_PROFILE = 4u << 20;  // bytes

// Neither the name nor a link may lead out of the app's own folder.
std::filesystem::path FindProfile(const std::filesystem::path& folder, const std::string& resource) {
    const std::string name = resource.starts_with(PROFILE_MARK) ? resource.substr(PROFILE_MARK.size()) : std::string();
    if (name.empty() || name.find('/') != std::string::npos || name.find('\0') != std::string::npos ||
        name.find("..") != std::string::npos) {
        throw std::runtime_error("\"" + resource + "\" is no resource");
    }
    const std::filesystem::path home = std::filesystem::canonical(folder);
    std::filesystem::path file = std::filesystem::canonical(home / "resources" / "profile" / (name + ".json"));
    if (std::mismatch(home.begin(), home.end(), file.begin(), file.end()).first != home.end()) {
        throw std::runtime_error("\"" + resource + "\" lies outside of the app");
    }
    return file;
}

template <typename Info>
bool AppendProfiles(const Info& info, const std::string& metadataName, std::vector<std::string>& profiles) {
    const std::shared_ptr<const Linux::BundleCatalogue> catalogue = Linux::BundleManager::GetInstance()->GetCatalogue();
    const Linux::Bundle* bundle = catalogue->Find(info.bundleName);
    bool read = false;
    for (const Metadata& metadata : info.metadata) {
        if (bundle == nullptr || metadata.name != metadataName || metadata.resource.empty()) {
            continue;
        }
        try {
            profiles.push_back(Linux::ReadTextFile(FindProfile(bundle->folder, metadata.resource), LARGEST_PROFILE));
            read = true;
        } catch (const std::exception& error) {
            LogPrint(LogType::CORE, LogLevel::ERROR, LOG, "profile of %{public}s: %{public}s", info.bundleName,
                error.what());
        }
    }
    return read;
}

}  // namespace

bool BundleMgrClient::GetResConfigFile(
    const AbilityInfo& info, const std::string& metadataName, std::vector<std::string>& profiles) const {
    return AppendProfiles(info, metadataName, profiles);
}

bool BundleMgrClient::GetResConfigFile(
    const ExtensionAbilityInfo& info, const std::string& metadataName, std::vector<std::string>& profiles) const {
    return AppendProfiles(info, metadataName, profiles);
}

}  // namespace ZYNE
