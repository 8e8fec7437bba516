#include "linux/account/account.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "linux/account/account_directory.h"
#include "linux/account/device_files.h"
#include "linux/account/replacement.h"
#include "linux/account/udid.h"

namespace ZYNE::Linux {
namespace {

namespace fs = std::filesystem;

constexpr int DEVICE_DAYS = 1825;

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

void CheckUdid(const std::string& udid) {
    if (!IsUdid(udid)) {
        throw std::runtime_error("a udid has 8 to 64 letters, digits, - and _");
    }
}

// The files that the account gives the device, its certificate last. Throws when it is revoked.
std::vector<NewFile> FilesFor(const AccountDirectory& account, const std::string& udid, EVP_PKEY& key) {
    if (account.Revoked().Has(udid)) {
        throw std::runtime_error("the account has revoked the device " + udid);
    }
    const CertificateHandle certificate =
        NewDeviceCertificate(udid, key, account.Certificate(), account.Key(), DeviceValidity(account.Certificate()));
    std::vector<NewFile> files = account.FilesOfDevices();
    files.push_back({CredentialFiles::CERTIFICATE, ToPem(*certificate), false});
    return files;
}

}  // namespace

void CreateAccount(const fs::path& directory, const std::string& accountName) {
    CheckAccountName(accountName);
    WriteNewFiles(directory, AccountDirectory::NewFiles(accountName));
}

void EnrollDevice(const fs::path& accountDirectory, const fs::path& deviceDirectory, const std::string& udid) {
    CheckUdid(udid);
    const AccountDirectory account(accountDirectory);
    const KeyHandle key = NewKey();
    std::vector<NewFile> files = FilesFor(account, udid, *key);
    files.push_back({CredentialFiles::KEY, ToPem(*key), true});
    files.push_back({CredentialFiles::UDID, udid + "\n", false});
    WriteNewFiles(deviceDirectory, files);
}

void RenewDevice(const fs::path& accountDirectory, const fs::path& deviceDirectory) {
    const AccountDirectory account(accountDirectory);
    const DeviceFiles device = ReadDeviceFiles(deviceDirectory, OwnerOf(deviceDirectory), Expired::TAKEN);
    if (X509_cmp(device.authority.get(), &account.Certificate()) != 0) {
        throw std::runtime_error(deviceDirectory.string() + " is not a device of this account");
    }
    // Earlier versions had these two.
    ReplaceFiles(deviceDirectory, FilesFor(account, device.udid, *device.key), {"governance.p7s", "permissions.p7s"});
}

void RevokeDevice(const fs::path& accountDirectory, const std::string& udid) {
    CheckUdid(udid);
    AccountDirectory account(accountDirectory);
    Revocations list = account.Revoked();
    if (list.Has(udid)) {
        throw std::runtime_error("the device " + udid + " is revoked already");
    }
    if (list.udids.size() == MAX_REVOKED) {
        throw std::runtime_error("the account has revoked as many devices as its list can hold");
    }
    ++list.number;
    list.udids.insert(std::ranges::upper_bound(list.udids, udid), udid);
    account.SetRevoked(list);
}

std::string RevocationDocument(const fs::path& accountDirectory) {
    const std::string authority = ReadSmallFile(accountDirectory / CredentialFiles::AUTHORITY);
    std::string document = ReadRevokedDocument(accountDirectory);
    if (!document.empty()) {
        ReadRevocations(document, authority);
    }
    return document;
}

}  // namespace ZYNE::Linux
