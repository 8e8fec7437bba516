// Guesses the name that somebody has misspelt.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ZYNE::Host {

// `, did you mean "name"?` with the one of `names` that is closest to `word`; empty when none is close.
std::string DidYouMean(std::string_view word, const std::vector<std::string>& names);

}  // namespace ZYNE::Host
