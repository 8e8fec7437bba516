// What a URI of shared data means: "datashare:///org.example.desk/notes?key=first" is the row "first" of the share
// "datashare:///org.example.desk/notes".
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ZYNE::Linux {

struct ShareName {
    std::string path;  // the text before the first '?': names the share
    std::string key;   // of the parameter "key"; empty when there is none

    bool operator==(const ShareName&) const = default;
};

// Empty when the text is too long, or is not the name of a share: "datashare:///" and at least one more byte. If "key"
// is given more than once, the first counts.
std::optional<ShareName> ParseShareName(std::string_view uri);

// Whether `path` is `ancestor`, or lies below it as '/' separates them.
bool IsAtOrBelow(std::string_view path, std::string_view ancestor);

}  // namespace ZYNE::Linux
