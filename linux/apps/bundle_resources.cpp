#include "linux/apps/bundle_resources.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string_view>

#include "linux/base/json_file.h"
#include "linux/base/log_domains.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

constexpr LogDomain LOG = LogDomains::APPS;
constexpr std::string_view PROFILE_MARK = "$profile:";
constexpr size_t MAX_PROFILE_BYTES = 4u << 20;  // bytes

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

}  // namespace

bool AppendProfiles(const BundleCatalogue& catalogue, const std::string& bundleName,
    const std::vector<Metadata>& metadata, const std::string& metadataName, std::vector<std::string>& profiles) {
    const Bundle* bundle = catalogue.Find(bundleName);
    bool read = false;
    for (const Metadata& each : metadata) {
        if (bundle == nullptr || each.name != metadataName || each.resource.empty()) {
            continue;
        }
        try {
            profiles.push_back(ReadTextFile(FindProfile(bundle->folder, each.resource), MAX_PROFILE_BYTES));
            read = true;
        } catch (const std::exception& error) {
            LogPrint(
                LogType::CORE, LogLevel::ERROR, LOG, "profile of %{public}s: %{public}s", bundleName, error.what());
        }
    }
    return read;
}

}  // namespace ZYNE::Linux
