// Type-safe formatting of log lines.
//
//     constexpr LogDomain LOG{0xD00461B, "Collection"};
//     LogPrint(LogType::CORE, LogLevel::INFO, LOG, "sent %{public}s, %{public}d bytes", name, size);
//
// A placeholder is %{public} or %{private} followed by a conversion: d (signed decimal), u (unsigned decimal), x
// (hexadecimal), f (floating point, six digits behind the point), s (text), with lu, zu, ld, zd, lld, llu meaning the
// same as u and d. A private value prints as <private> unless the port shows them. Everything else, a lone brace or
// percent sign included, is text. Each argument is taken by its own type; integers, enumerations and bools are
// converted to the signedness of the conversion at their own width (uint32_t 4294967295 prints as -1 with d). A null
// char pointer prints as (null). A format whose placeholders do not fit its arguments does not compile.
//
// A level that is switched off costs one load and one branch.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

#include "platform/log/log_service.h"

namespace ZYNE {
namespace LogDetail {

inline constexpr std::string_view PUBLIC_MARK = "%{public}";
inline constexpr std::string_view PRIVATE_MARK = "%{private}";

// One placeholder found in a format.
struct Placeholder {
    size_t begin;     // of the percent sign; npos when there is none
    size_t end;       // behind the conversion
    char conversion;  // d, u, x, f or s; 0 when the conversion is unknown
    bool isPrivate;
};

// The first placeholder of `format` at or behind `from`.
constexpr Placeholder FindPlaceholder(std::string_view format, size_t from) {
    size_t begin = format.find('%', from);
    bool isPrivate = false;
    while (begin != std::string_view::npos) {
        const std::string_view rest = format.substr(begin);
        isPrivate = rest.starts_with(PRIVATE_MARK);
        if (isPrivate || rest.starts_with(PUBLIC_MARK)) {
            break;
        }
        begin = format.find('%', begin + 1);
    }
    if (begin == std::string_view::npos) {
        return {std::string_view::npos, format.size(), 0, false};
    }
    size_t at = begin + (isPrivate ? PRIVATE_MARK : PUBLIC_MARK).size();
    while (at < format.size() && (format[at] == 'l' || format[at] == 'z')) {
        ++at;
    }
    const char conversion = at < format.size() ? format[at] : '\0';
    const bool known =
        conversion == 'd' || conversion == 'u' || conversion == 'x' || conversion == 'f' || conversion == 's';
    return {begin, at + 1, known ? conversion : '\0', isPrivate};
}

template <typename Arg>
constexpr bool Fits(char conversion) {
    using Plain = std::remove_cvref_t<Arg>;
    if (conversion == 's') {
        return std::is_convertible_v<Plain, std::string_view> || std::is_convertible_v<Plain, const char*>;
    }
    if (conversion == 'f') {
        return std::is_floating_point_v<Plain>;
    }
    return conversion != '\0' && (std::is_integral_v<Plain> || std::is_enum_v<Plain>);
}

// Calling this in a constant expression stops the compiler.
void FormatDoesNotFitItsArguments();

template <typename... Args>
class CheckedFormat {
public:
    consteval CheckedFormat(const char* text) : text_(text) {
        size_t from = 0;
        (CheckOne<Args>(from), ...);
        if (FindPlaceholder(text_, from).begin != std::string_view::npos) {
            FormatDoesNotFitItsArguments();
        }
    }
    constexpr std::string_view Get() const { return text_; }

private:
    template <typename Arg>
    consteval void CheckOne(size_t& from) {
        const Placeholder next = FindPlaceholder(text_, from);
        if (next.begin == std::string_view::npos || !Fits<Arg>(next.conversion)) {
            FormatDoesNotFitItsArguments();
        }
        from = next.end;
    }

    std::string_view text_;
};

// Builds the text of one line from its format, one argument at a time.
class PLATFORM_API LineBuilder {
public:
    explicit LineBuilder(std::string_view format) : rest_(format) { line_.reserve(format.size() + USUAL_ARGUMENTS); }

    template <typename Arg>
    void Add(const Arg& arg) {
        const Placeholder next = Next();
        if (next.isPrivate && !LogService::showPrivate.load(std::memory_order_relaxed)) {
            line_ += "<private>";
        } else if constexpr (std::is_integral_v<Arg> || std::is_enum_v<Arg>) {
            AddNumber(arg, next.conversion);
        } else if constexpr (std::is_floating_point_v<Arg>) {
            AddFloating(arg);
        } else if constexpr (std::is_convertible_v<Arg, const char*>) {
            const char* text = arg;
            line_ += text != nullptr ? text : "(null)";
        } else {
            line_ += std::string_view(arg);
        }
    }

    // The finished line: what stands behind the last placeholder is added.
    const std::string& Finish();

private:
    static constexpr size_t USUAL_ARGUMENTS = 160;  // bytes

    template <typename Number>
    void AddNumber(Number number, char conversion) {
        if constexpr (std::is_enum_v<Number>) {
            AddNumber(static_cast<std::underlying_type_t<Number>>(number), conversion);
        } else if constexpr (std::is_same_v<Number, bool>) {
            AddSigned(number ? 1 : 0);
        } else if (conversion == 'd') {
            AddSigned(static_cast<std::make_signed_t<Number>>(number));
        } else {
            AddUnsigned(static_cast<std::make_unsigned_t<Number>>(number), conversion == 'x' ? 16 : 10);
        }
    }

    // Copies the text up to the next placeholder and moves behind that.
    Placeholder Next();
    void AddSigned(int64_t number);
    void AddUnsigned(uint64_t number, int base);
    void AddFloating(double number);

    std::string_view rest_;
    std::string line_;
};

}  // namespace LogDetail

// Formats and prints one line. Never throws: where memory does not suffice, the bare format is printed.
template <typename... Args>
void LogPrint(LogType type, LogLevel level, const LogDomain& domain,
    LogDetail::CheckedFormat<std::type_identity_t<Args>...> format, const Args&... args) noexcept {
    if (level < LogService::minLevel.load(std::memory_order_relaxed)) {
        return;
    }
    try {
        LogDetail::LineBuilder line(format.Get());
        (line.Add(args), ...);
        LogService::GetInstance().Print(type, level, domain, line.Finish());
    } catch (...) {
        LogService::GetInstance().Print(type, level, domain, format.Get());
    }
}

}  // namespace ZYNE
