#include "linux/datashare/share_name.h"

#include <algorithm>

#include "linux/datashare/share_limits.h"

namespace ZYNE::Linux {
namespace {

constexpr std::string_view SCHEME = "datashare:///";
constexpr std::string_view KEY = "key=";

std::string_view FindKey(std::string_view parameters) {
    while (!parameters.empty()) {
        const size_t end = std::min(parameters.find('&'), parameters.size());
        if (parameters.substr(0, end).starts_with(KEY)) {
            return parameters.substr(KEY.size(), end - KEY.size());
        }
        parameters.remove_prefix(std::min(end + 1, parameters.size()));
    }
    return {};
}

}  // namespace

std::optional<ShareName> ParseShareName(std::string_view uri) {
    const size_t end = std::min(uri.find('?'), uri.size());
    const std::string_view path = uri.substr(0, end);
    if (uri.size() > ShareLimits::URI || !path.starts_with(SCHEME) || path.size() == SCHEME.size()) {
        return std::nullopt;
    }
    return ShareName{std::string(path), std::string(FindKey(uri.substr(std::min(end + 1, uri.size()))))};
}

bool IsAtOrBelow(std::string_view path, std::string_view ancestor) {
    return path.starts_with(ancestor) &&
        (path.size() == ancestor.size() || path[ancestor.size()] == '/' || ancestor.ends_with('/'));
}

}  // namespace ZYNE::Linux
