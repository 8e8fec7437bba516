// The name of shared data, such as "datashare:///com.example.app/notes?key=first".
#pragma once

#include <string>
#include <utility>

namespace ZYNE {

// Text that is carried as it is: neither checked nor normalised.
class Uri {
public:
    explicit Uri(std::string text) : text_(std::move(text)) {}

    const std::string& ToString() const { return text_; }

    bool operator==(const Uri&) const = default;

private:
    std::string text_;
};

}  // namespace ZYNE
