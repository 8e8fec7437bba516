// Documents that an account's authority has signed.
#pragma once

#include <string>

#include "linux/account/openssl.h"

namespace ZYNE::Linux {

// `text` with its signature, as a multi-part S/MIME message.
std::string SignDocument(const std::string& text, X509& authority, EVP_PKEY& authorityKey);

// The text of a signed document. Throws std::runtime_error when it is not one, or not signed by `authority` itself,
// whether or not that still holds. Line ends may come back as CR LF.
std::string VerifiedText(const std::string& document, X509& authority);

}  // namespace ZYNE::Linux
