// One metadata entry of an app's ability, as the scan met it.
#pragma once

#include <string>
#include <tuple>

namespace ZYNE::CollaborationFwk {

struct AppInfoMeta {
    std::string action;
    std::string metadataName;
    std::string metadataValue;
    std::string metadataResource;

    // Lexicographic, field by field, by bytes.
    friend bool operator<(const AppInfoMeta& a, const AppInfoMeta& b) {
        return std::tie(a.action, a.metadataName, a.metadataValue, a.metadataResource) <
            std::tie(b.action, b.metadataName, b.metadataValue, b.metadataResource);
    }
};

}  // namespace ZYNE::CollaborationFwk
