#include "linux/account/account_directory.h"

#include <cerrno>
#include <stdexcept>

#include <fcntl.h>
#include <sys/file.h>

#include "linux/account/device_files.h"
#include "linux/account/replacement.h"
#include "linux/base/hex.h"

namespace ZYNE::Linux {
namespace {

namespace fs = std::filesystem;

constexpr int AUTHORITY_DAYS = 3650;

NewFile NewMeetingKey() {
    return {CredentialFiles::MEETING_KEY, RandomHex(MEETING_KEY_BYTES) + '\n', true};
}

}  // namespace

std::vector<NewFile> AccountDirectory::NewFiles(const std::string& accountName) {
    const KeyHandle key = NewKey();
    const CertificateHandle authority = NewAuthority(accountName, *key, ValidForDays(AUTHORITY_DAYS));
    return {
        {AUTHORITY_KEY, ToPem(*key), true}, {CredentialFiles::AUTHORITY, ToPem(*authority), false}, NewMeetingKey()};
}

AccountDirectory::AccountDirectory(const fs::path& directory) : directory_(directory) {
    if (!fs::exists(directory / AUTHORITY_KEY)) {
        throw std::runtime_error(directory.string() + " is not the directory of an account");
    }
    try {
        Lock();
        ReadKeys();
        ReadRevoked();
    } catch (const std::runtime_error& error) {
        throw std::runtime_error("the account in " + directory.string() + " cannot be used: " + error.what());
    }
}

void AccountDirectory::Lock() {
    lock_ = UniqueFd(open(directory_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!lock_ || flock(lock_.Get(), LOCK_EX) != 0) {
        FailWithFile(directory_, errno);
    }
}

void AccountDirectory::ReadKeys() {
    const uid_t owner = OwnerOf(directory_);
    certificate_ = CertificateFromPem(ReadSmallFile(directory_ / CredentialFiles::AUTHORITY));
    key_ = KeyFromPem(ReadSecretFile(directory_ / AUTHORITY_KEY, owner));
    Must(X509_check_private_key(certificate_.get(), key_.get()), "key and certificate differ");
    if (!fs::exists(directory_ / CredentialFiles::MEETING_KEY)) {
        ReplaceFiles(directory_, {NewMeetingKey()});
    }
    ReadMeetingKey(directory_, owner);
    meetingKey_ = ReadSmallFile(directory_ / CredentialFiles::MEETING_KEY);
}

void AccountDirectory::ReadRevoked() {
    revokedDocument_ = ReadRevokedDocument(directory_);
    if (!revokedDocument_.empty()) {
        revoked_ = ReadRevocations(revokedDocument_, ToPem(*certificate_));
    }
}

std::vector<NewFile> AccountDirectory::FilesOfDevices() const {
    std::vector<NewFile> files{
        {CredentialFiles::MEETING_KEY, meetingKey_, true}, {CredentialFiles::AUTHORITY, ToPem(*certificate_), false}};
    if (!revokedDocument_.empty()) {
        files.push_back({CredentialFiles::REVOKED, revokedDocument_, false});
    }
    return files;
}

void AccountDirectory::SetRevoked(const Revocations& revocations) {
    revokedDocument_ = SignRevocations(revocations, *certificate_, *key_);
    revoked_ = revocations;
    ReplaceFiles(directory_, {{CredentialFiles::REVOKED, revokedDocument_, false}});
}

std::string ReadRevokedDocument(const fs::path& directory) {
    const fs::path file = directory / CredentialFiles::REVOKED;
    return fs::exists(file) ? ReadSmallFile(file) : "";
}

}  // namespace ZYNE::Linux
