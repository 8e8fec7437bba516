// The apps that are installed on the device: a directory with one folder each.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "linux/apps/bundle_manifest.h"

namespace ZYNE::Linux {

// Never changes once it is built. Any thread.
class BundleCatalogue {
public:
    BundleCatalogue() = default;

    // Reads every folder's manifest; one that is malformed costs a log line and that app alone, and of two apps with
    // one name the one in the first folder stays. Throws std::runtime_error when `directory` cannot be read.
    explicit BundleCatalogue(const std::filesystem::path& directory);

    // Null when it is not installed.
    const Bundle* Find(const std::string& bundleName) const;
    const BundleExtension* FindExtension(const std::string& bundleName, const std::string& extensionName) const;

    // By bundle name.
    const std::map<std::string, Bundle>& GetBundles() const { return bundles_; }

    // The processes of all extensions, for the bus to start on demand.
    std::vector<BusService> GetServices() const;

    // The shared data that all apps declare, disabled ones included.
    std::vector<std::string> GetDataShares() const;

private:
    void Add(const std::filesystem::path& folder);

    std::map<std::string, Bundle> bundles_;
};

}  // namespace ZYNE::Linux
