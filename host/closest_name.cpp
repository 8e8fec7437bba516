#include "host/closest_name.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>

namespace ZYNE::Host {
namespace {

// How many characters must be added, removed or replaced to turn one into the other.
size_t Distance(std::string_view left, std::string_view right) {
    std::vector<size_t> row(right.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (size_t i = 0; i < left.size(); ++i) {
        size_t diagonal = std::exchange(row[0], i + 1);
        for (size_t j = 0; j < right.size(); ++j) {
            const size_t replaced = diagonal + (left[i] == right[j] ? 0 : 1);
            diagonal = std::exchange(row[j + 1], std::min({replaced, row[j + 1] + 1, row[j] + 1}));
        }
    }
    return row.back();
}

}  // namespace

std::string DidYouMean(std::string_view word, const std::vector<std::string>& names) {
    constexpr size_t MAX_BYTES = 64;  // of a word that is compared
    const auto closest = std::ranges::min_element(
        names, {}, [&](const std::string& name) { return Distance(word.substr(0, MAX_BYTES), name); });
    const size_t mostMistakes = word.size() > 3 ? std::max<size_t>(2, word.size() / 3) : 1;
    if (closest == names.end() || Distance(word.substr(0, MAX_BYTES), *closest) > mostMistakes) {
        return {};
    }
    return ", did you mean \"" + *closest + "\"?";
}

}  // namespace ZYNE::Host
