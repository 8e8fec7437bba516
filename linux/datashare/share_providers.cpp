#include "linux/datashare/share_providers.h"

#include <algorithm>
#include <utility>

#include "linux/datashare/share_name.h"

namespace ZYNE::Linux {

ShareProviders::ShareProviders(std::vector<std::string> declared) : beginnings_(std::move(declared)) {
    beginnings_.emplace_back(SETTINGS);
    std::stable_sort(beginnings_.begin(), beginnings_.end(),
        [](const std::string& a, const std::string& b) { return a.size() < b.size(); });
}

std::string_view ShareProviders::Find(std::string_view path) const {
    const auto found = std::find_if(beginnings_.begin(), beginnings_.end(),
        [path](const std::string& beginning) { return IsAtOrBelow(path, beginning); });
    return found != beginnings_.end() ? std::string_view(*found) : std::string_view();
}

}  // namespace ZYNE::Linux
