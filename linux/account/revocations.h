// The list of an account's devices that are not to be trusted any more, which the account's authority signs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "linux/account/openssl.h"

namespace ZYNE::Linux {

inline constexpr size_t MAX_REVOKED = 1000;
// Of a list as a document.
inline constexpr size_t MAX_REVOCATION_BYTES = size_t{128} << 10U;

struct Revocations {
    uint64_t number = 0;             // the greater, the newer; 0: nothing was ever revoked
    std::vector<std::string> udids;  // sorted, each once, at most MAX_REVOKED

    bool Has(std::string_view udid) const;
};

// `revocations`, whose number is not 0, as a document.
std::string SignRevocations(const Revocations& revocations, X509& authority, EVP_PKEY& authorityKey);

// The list that `document` is. Throws std::runtime_error with one line when it is malformed, or not signed by the
// authority whose certificate is `authorityPem`.
Revocations ReadRevocations(const std::string& document, const std::string& authorityPem);

}  // namespace ZYNE::Linux
