// The keys and certificates of accounts and devices.
#pragma once

#include <ctime>
#include <string>
#include <vector>

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

// The subject of the certificate of the device `udid` as its DER bytes.
std::vector<unsigned char> DeviceSubject(const std::string& udid);

// The common name of the certificate's subject; empty when it has none.
std::string CommonName(X509& certificate);
std::time_t EndOfValidity(X509& certificate);

std::string ToPem(X509& certificate);
std::string ToPem(EVP_PKEY& key);

// Throw std::runtime_error when the text is not that.
CertificateHandle CertificateFromPem(const std::string& pem);
KeyHandle KeyFromPem(const std::string& pem);

}  // namespace ZYNE::Linux
