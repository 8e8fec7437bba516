#include "linux/account/device_files.h"

#include <stdexcept>

#include "linux/account/files.h"
#include "linux/account/udid.h"
#include "linux/base/hex.h"

namespace ZYNE::Linux {
namespace {

namespace fs = std::filesystem;

std::string FirstLine(const std::string& content) {
    return content.substr(0, content.find_first_of("\r\n"));
}

std::string ReadUdid(const fs::path& file) {
    return OfFile(file, ReadSmallFile(file), [](const std::string& content) {
        std::string udid = FirstLine(content);
        if (!IsUdid(udid)) {
            throw std::runtime_error("not a udid");
        }
        return udid;
    });
}

CertificateHandle ReadCertificate(const fs::path& file) {
    return OfFile(file, ReadSmallFile(file), CertificateFromPem);
}

}  // namespace

DeviceFiles ReadDeviceFiles(const fs::path& directory, uid_t owner, Expired expired) {
    const fs::path key = directory / CredentialFiles::KEY;
    const fs::path certificate = directory / CredentialFiles::CERTIFICATE;
    DeviceFiles device{ReadUdid(directory / CredentialFiles::UDID),
        ReadCertificate(directory / CredentialFiles::AUTHORITY), ReadCertificate(certificate),
        OfFile(key, ReadSecretFile(key, owner), KeyFromPem)};
    OfFile(certificate, "", [&](const std::string&) {
        CheckIssuedBy(*device.authority, *device.certificate, expired);
        if (CommonName(*device.certificate) != device.udid) {
            throw std::runtime_error("not the certificate of this device");
        }
        Must(X509_check_private_key(device.certificate.get(), device.key.get()),
            "not the certificate of this device's key");
    });
    return device;
}

std::string ReadMeetingKey(const fs::path& directory, uid_t owner) {
    const fs::path file = directory / CredentialFiles::MEETING_KEY;
    return OfFile(file, ReadSecretFile(file, owner), [](const std::string& content) {
        std::string key = BytesOfHex(FirstLine(content));
        if (key.size() != MEETING_KEY_BYTES) {
            throw std::runtime_error("not a meeting key");
        }
        return key;
    });
}

}  // namespace ZYNE::Linux
