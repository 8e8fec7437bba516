#include "linux/apps/bundle_catalogue.h"

#include <set>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "linux/base/log_domains.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

constexpr LogDomain LOG = LogDomains::APPS;

}  // namespace

BundleCatalogue::BundleCatalogue(const std::filesystem::path& directory) {
    std::set<std::filesystem::path> folders;
    try {
        for (const auto& entry : std::filesystem::directory_iterator(directory)) {
            if (entry.is_directory()) {
                folders.insert(entry.path());
            }
        }
    } catch (const std::filesystem::filesystem_error& error) {
        throw std::runtime_error("cannot read the bundles in " + directory.native() + ": " + error.code().message());
    }
    for (const std::filesystem::path& folder : folders) {
        Add(folder);
    }
}

void BundleCatalogue::Add(const std::filesystem::path& folder) {
    try {
        Bundle bundle = ReadManifest(folder);
        const std::string name = bundle.bundleName;
        if (!bundles_.emplace(name, std::move(bundle)).second) {
            throw std::runtime_error(folder.native() + ": " + name + " is installed in an earlier folder already");
        }
    } catch (const std::exception& error) {
        LogPrint(LogType::CORE, LogLevel::ERROR, LOG, "app left out: %{public}s", error.what());
    }
}

const Bundle* BundleCatalogue::Find(const std::string& bundleName) const {
    const auto found = bundles_.find(bundleName);
    return found != bundles_.end() ? &found->second : nullptr;
}

const BundleExtension* BundleCatalogue::FindExtension(
    const std::string& bundleName, const std::string& extensionName) const {
    if (const Bundle* bundle = Find(bundleName)) {
        for (const BundleExtension& extension : bundle->extensions) {
            if (extension.name == extensionName) {
                return &extension;
            }
        }
    }
    return nullptr;
}

std::vector<BusService> BundleCatalogue::GetServices() const {
    std::vector<BusService> services;
    for (const auto& [name, bundle] : bundles_) {
        for (const BundleExtension& extension : bundle.extensions) {
            services.push_back(extension.service);
        }
    }
    return services;
}

std::vector<std::string> BundleCatalogue::GetDataShares() const {
    std::vector<std::string> shares;
    for (const auto& [name, bundle] : bundles_) {
        shares.insert(shares.end(), bundle.dataShares.begin(), bundle.dataShares.end());
    }
    return shares;
}

}  // namespace ZYNE::Linux
