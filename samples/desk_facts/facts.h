// What the desk that this machine stands on is like.
#pragma once

#include <optional>
#include <string>

namespace Sample {

// The value of a fact; nothing for a name that is not known.
std::optional<std::string> ReadFact(const std::string& name);

}  // namespace Sample
