// The keys and certificates of accounts and devices.
#pragma once

#include <ctime>
#include <string>

#include "linux/account/openssl.h"

namespace ZYNE::Linux {

// From when until when something holds.
struct Validity {
    std::time_t notBefore;
    std::time_t notAfter;
};

// From a day ago, for clocks that are behind, until `days` from now.
Validity ValidForDays(int days);

KeyHandle NewKey();

// The certificate of a new account's authority, signed by itself.
CertificateHandle NewAuthority(const std::string& accountName, EVP_PKEY& key, const Validity& validity);

// A certificate for the device `udid`, fit to prove who it is and for nothing else: above all not to sign documents.
CertificateHandle NewDeviceCertificate(
    const std::string& udid, EVP_PKEY& deviceKey, X509& authority, EVP_PKEY& authorityKey, const Validity& validity);

// Whether what does not hold any more, or not yet, is taken all the same.
enum class Expired { REFUSED, TAKEN };

// Throws std::runtime_error when `authority` has not signed `certificate`.
void CheckIssuedBy(X509& authority, X509& certificate, Expired expired);

// The common name of the certificate's subject; empty when it has none.
std::string CommonName(X509& certificate);
std::time_t EndOfValidity(X509& certificate);

std::string ToPem(X509& certificate);
std::string ToPem(EVP_PKEY& key);

// Throw std::runtime_error when the text is not that.
CertificateHandle CertificateFromPem(const std::string& pem);
KeyHandle KeyFromPem(const std::string& pem);

}  // namespace ZYNE::Linux
