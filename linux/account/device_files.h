// What a device's directory says of who the device is.
#pragma once

#include <filesystem>
#include <string>

#include <sys/types.h>

#include "linux/account/certificate.h"

namespace ZYNE::Linux {

// The names of the files in a device's directory.
struct CredentialFiles {
    static constexpr const char* AUTHORITY = "ca.pem";
    static constexpr const char* CERTIFICATE = "device.pem";
    static constexpr const char* KEY = "device.key";
    static constexpr const char* UDID = "udid";
    static constexpr const char* MEETING_KEY = "meeting.key";
    static constexpr const char* REVOKED = "revoked.p7s";  // may be missing
};

struct DeviceFiles {
    std::string udid;
    CertificateHandle authority;
    CertificateHandle certificate;
    KeyHandle key;
};

// Reads and checks who the device of `directory` is: the authority has certified the key for the udid. The key must be
// `owner`'s or root's, and closed to others. Throws std::runtime_error with one line that names the file.
DeviceFiles ReadDeviceFiles(const std::filesystem::path& directory, uid_t owner, Expired expired);

// The account's meeting key, MEETING_KEY_BYTES bytes, from its file, which is a secret as the device's key is.
inline constexpr size_t MEETING_KEY_BYTES = 32;
std::string ReadMeetingKey(const std::filesystem::path& directory, uid_t owner);

}  // namespace ZYNE::Linux
