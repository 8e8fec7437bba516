#include "linux/account/revocations.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <stdexcept>

#include "linux/account/certificate.h"
#include "linux/account/signed_document.h"
#include "linux/account/udid.h"

namespace ZYNE::Linux {
namespace {

constexpr std::string_view HEADING = "revocations 1";
constexpr std::string_view NUMBER = "number ";
constexpr std::string_view UDID = "udid ";

// Takes the first line of `text`, without its end; nothing when no line is left.
std::optional<std::string_view> TakeLine(std::string_view& text) {
    const size_t end = text.find('\n');
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end + 1);
    line.remove_suffix(line.ends_with('\r') ? 1 : 0);
    return line;
}

// What stands behind `name` in a line. Throws when there is no such line.
std::string_view ValueOf(const std::optional<std::string_view>& line, std::string_view name) {
    if (!line || !line->starts_with(name)) {
        throw std::runtime_error("malformed");
    }
    return line->substr(name.size());
}

uint64_t ParseNumber(std::string_view digits) {
    uint64_t number = 0;
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number);
    if (error != std::errc() || stop != end || digits.front() == '0') {
        throw std::runtime_error("malformed");
    }
    return number;
}

Revocations Parse(std::string_view text) {
    if (!ValueOf(TakeLine(text), HEADING).empty()) {
        throw std::runtime_error("of another version");
    }
    Revocations list{ParseNumber(ValueOf(TakeLine(text), NUMBER)), {}};
    while (!text.empty()) {
        const std::string_view udid = ValueOf(TakeLine(text), UDID);
        if (!IsUdid(udid) || (!list.udids.empty() && udid <= list.udids.back()) || list.udids.size() == MAX_REVOKED) {
            throw std::runtime_error("malformed");
        }
        list.udids.emplace_back(udid);
    }
    return list;
}

}  // namespace

bool Revocations::Has(std::string_view udid) const {
    return std::ranges::binary_search(udids, udid);
}

std::string SignRevocations(const Revocations& revocations, X509& authority, EVP_PKEY& authorityKey) {
    std::string text = std::string(HEADING) + '\n' + std::string(NUMBER) + std::to_string(revocations.number) + '\n';
    for (const std::string& udid : revocations.udids) {
        text += std::string(UDID) + udid + '\n';
    }
    return SignDocument(text, authority, authorityKey);
}

Revocations ReadRevocations(const std::string& document, const std::string& authorityPem) {
    try {
        if (document.size() > MAX_REVOCATION_BYTES) {
            throw std::runtime_error("too large");
        }
        return Parse(VerifiedText(document, *CertificateFromPem(authorityPem)));
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(std::string("the list of revoked devices is ") + error.what());
    }
}

}  // namespace ZYNE::Linux
