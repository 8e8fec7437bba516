// The directory of an account.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "linux/account/certificate.h"
#include "linux/account/files.h"
#include "linux/account/revocations.h"
#include "linux/base/unique_fd.h"

namespace ZYNE::Linux {

// Opened by whoever may use the authority's key. While it is open, other processes wait to open it.
//
// Every operation throws std::runtime_error with one line.
class AccountDirectory {
public:
    static constexpr const char* AUTHORITY_KEY = "ca.key";

    // What every account has, for a new one.
    static std::vector<NewFile> NewFiles(const std::string& accountName);

    // An account of an earlier version is given its meeting key.
    explicit AccountDirectory(const std::filesystem::path& directory);

    X509& Certificate() const { return *certificate_; }
    EVP_PKEY& Key() const { return *key_; }
    const Revocations& Revoked() const { return revoked_; }

    // What each of its devices has of it.
    std::vector<NewFile> FilesOfDevices() const;

    // Replaces the list of revoked devices.
    void SetRevoked(const Revocations& revocations);

private:
    void Lock();
    void ReadKeys();
    void ReadRevoked();

    const std::filesystem::path directory_;
    UniqueFd lock_;
    CertificateHandle certificate_;
    KeyHandle key_;
    std::string meetingKey_;       // the content of its file, as is revokedDocument_
    std::string revokedDocument_;  // empty while nothing was ever revoked
    Revocations revoked_;
};

// The list of revoked devices of the account in `directory`, which need not be its owner's; empty while nothing was
// ever revoked.
std::string ReadRevokedDocument(const std::filesystem::path& directory);

}  // namespace ZYNE::Linux
