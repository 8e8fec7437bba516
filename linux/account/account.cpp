#include "linux/account/account.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "linux/account/certificate.h"
#include "linux/account/credentials.h"
#include "linux/account/files.h"
#include "linux/account/policy.h"
#include "linux/account/signed_document.h"
#include "linux/account/udid.h"

namespace ZYNE::Linux {
namespace {

namespace fs = std::filesystem;

constexpr const char* AUTHORITY_KEY = "ca.key";
constexpr int AUTHORITY_DAYS = 3650;
constexpr int DEVICE_DAYS = 1825;

struct Authority {
    CertificateHandle certificate;
    KeyHandle key;
};

Authority OpenAuthority(const fs::path& directory) {
    if (!fs::exists(directory / AUTHORITY_KEY)) {
        throw std::runtime_error(directory.string() + " is not the directory of an account");
    }
    try {
        Authority authority{CertificateFromPem(ReadSmallFile(directory / CredentialFiles::AUTHORITY)),
            KeyFromPem(ReadSmallFile(directory / AUTHORITY_KEY))};
        Must(X509_check_private_key(authority.certificate.get(), authority.key.get()), "key and certificate differ");
        return authority;
    } catch (const std::runtime_error& error) {
        throw std::runtime_error("the account in " + directory.string() + " is damaged: " + error.what());
    }
}

// A device's certificate does not outlast the authority that it is checked against.
Validity DeviceValidity(X509& authority) {
    Validity validity = ValidForDays(DEVICE_DAYS);
    const std::time_t end = EndOfValidity(authority);
    if (end <= std::time(nullptr)) {
        throw std::runtime_error("the account has expired");
    }
    validity.notAfter = std::min(validity.notAfter, end);
    return validity;
}

// A certificate takes 64 characters of UTF-8; the rest is libcrypto's to refuse.
void CheckAccountName(const std::string& name) {
    if (name.empty() || std::ranges::any_of(name, [](unsigned char c) { return c < ' ' || c == 0x7f; })) {
        throw std::runtime_error("an account's name has 1 to 64 printable characters");
    }
}

}  // namespace

void CreateAccount(const fs::path& directory, const std::string& accountName) {
    CheckAccountName(accountName);
    const KeyHandle key = NewKey();
    const CertificateHandle authority = NewAuthority(accountName, *key, ValidForDays(AUTHORITY_DAYS));
    WriteNewFiles(directory,
        {{AUTHORITY_KEY, ToPem(*key), true}, {CredentialFiles::AUTHORITY, ToPem(*authority), false},
            {CredentialFiles::GOVERNANCE, SignDocument(GovernanceXml(), *authority, *key), false}});
}

void EnrollDevice(const fs::path& accountDirectory, const fs::path& deviceDirectory, const std::string& udid) {
    if (!IsUdid(udid)) {
        throw std::runtime_error("a udid has 8 to 64 letters, digits, - and _");
    }
    const Authority account = OpenAuthority(accountDirectory);
    const Validity validity = DeviceValidity(*account.certificate);
    const KeyHandle key = NewKey();
    const CertificateHandle certificate =
        NewDeviceCertificate(udid, *key, *account.certificate, *account.key, validity);
    const std::string permissions = SignDocument(PermissionsXml(udid, validity), *account.certificate, *account.key);
    WriteNewFiles(deviceDirectory,
        {{CredentialFiles::KEY, ToPem(*key), true}, {CredentialFiles::CERTIFICATE, ToPem(*certificate), false},
            {CredentialFiles::AUTHORITY, ToPem(*account.certificate), false},
            {CredentialFiles::GOVERNANCE, ReadSmallFile(accountDirectory / CredentialFiles::GOVERNANCE), false},
            {CredentialFiles::PERMISSIONS, permissions, false}, {CredentialFiles::UDID, udid + "\n", false}});
}

}  // namespace ZYNE::Linux
