// What somebody may have meant who misspelt a name.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ZYNE::Host {

// `, did you mean "name"?` with the one of `names` that is most like `word`; empty when none is like it.
std::string DidYouMean(std::string_view word, const std::vector<std::string>& names);

}  // namespace ZYNE::Host
