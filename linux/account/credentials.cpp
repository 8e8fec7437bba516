#include "linux/account/credentials.h"

#include <stdexcept>

#include <openssl/x509_vfy.h>

#include "linux/account/certificate.h"
#include "linux/account/files.h"
#include "linux/account/policy.h"
#include "linux/account/signed_document.h"
#include "linux/account/udid.h"

namespace ZYNE::Linux {
namespace {

namespace fs = std::filesystem;

// Runs `read` and puts the file's name in front of what goes wrong.
template <typename Read>
auto OfFile(const fs::path& file, Read read) {
    const std::string content = ReadSmallFile(file);
    try {
        return read(content);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(file.string() + ": " + error.what());
    }
}

void CheckIssuedBy(X509& authority, X509& certificate) {
    const StoreHandle store = MustHave<StoreHandle>(X509_STORE_new(), "no memory");
    Must(X509_STORE_add_cert(store.get(), &authority), "no memory");
    const StoreContextHandle context = MustHave<StoreContextHandle>(X509_STORE_CTX_new(), "no memory");
    Must(X509_STORE_CTX_init(context.get(), store.get(), &certificate, nullptr), "no memory");
    if (X509_verify_cert(context.get()) != 1) {
        throw std::runtime_error(X509_verify_cert_error_string(X509_STORE_CTX_get_error(context.get())));
    }
}

std::string ReadUdid(const fs::path& file) {
    return OfFile(file, [](const std::string& content) {
        std::string udid = content.substr(0, content.find_first_of("\r\n"));
        if (!IsUdid(udid)) {
            throw std::runtime_error("not a udid");
        }
        return udid;
    });
}

void CheckPermissions(const fs::path& file, X509& authority, const std::string& udid) {
    OfFile(file, [&](const std::string& content) {
        if (VerifiedText(content, authority).find("<subject_name>CN=" + udid + "</subject_name>") ==
            std::string::npos) {
            throw std::runtime_error("not the permissions of this device");
        }
    });
}

}  // namespace

Credentials LoadCredentials(const fs::path& directory) {
    Credentials credentials{fs::absolute(directory), ReadUdid(directory / CredentialFiles::UDID), ""};
    const CertificateHandle authority = OfFile(directory / CredentialFiles::AUTHORITY, CertificateFromPem);
    credentials.accountName = CommonName(*authority);
    OfFile(directory / CredentialFiles::CERTIFICATE, [&](const std::string& content) {
        const CertificateHandle certificate = CertificateFromPem(content);
        CheckIssuedBy(*authority, *certificate);
        if (CommonName(*certificate) != credentials.udid) {
            throw std::runtime_error("not the certificate of this device");
        }
        const KeyHandle key = OfFile(directory / CredentialFiles::KEY, KeyFromPem);
        Must(X509_check_private_key(certificate.get(), key.get()), "not the certificate of this device's key");
    });
    OfFile(directory / CredentialFiles::GOVERNANCE,
        [&](const std::string& content) { VerifiedText(content, *authority); });
    CheckPermissions(directory / CredentialFiles::PERMISSIONS, *authority, credentials.udid);
    return credentials;
}

}  // namespace ZYNE::Linux
