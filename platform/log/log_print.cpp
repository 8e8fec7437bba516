#include "platform/log/log_print.h"

#include <array>
#include <charconv>

namespace ZYNE::LogDetail {

Placeholder LineBuilder::Next() {
    const Placeholder next = FindPlaceholder(rest_, 0);
    line_ += rest_.substr(0, next.begin);
    rest_.remove_prefix(next.end);
    return next;
}

const std::string& LineBuilder::Finish() {
    line_ += rest_;
    rest_ = {};
    return line_;
}

void LineBuilder::AddSigned(int64_t number) {
    std::array<char, 24> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    line_.append(digits.data(), end);
}

void LineBuilder::AddUnsigned(uint64_t number, int base) {
    std::array<char, 24> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, base).ptr;
    line_.append(digits.data(), end);
}

void LineBuilder::AddFloating(double number) {
    line_ += std::to_string(number);
}

}  // namespace ZYNE::LogDetail
