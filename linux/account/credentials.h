// The files by which a device proves who it is and of which account.
#pragma once

#include <filesystem>
#include <string>

namespace ZYNE::Linux {

// The names of the files in a device's directory.
struct CredentialFiles {
    static constexpr const char* AUTHORITY = "ca.pem";
    static constexpr const char* CERTIFICATE = "device.pem";
    static constexpr const char* KEY = "device.key";
    static constexpr const char* GOVERNANCE = "governance.p7s";
    static constexpr const char* PERMISSIONS = "permissions.p7s";
    static constexpr const char* UDID = "udid";
};

struct Credentials {
    std::filesystem::path directory;  // absolute
    std::string udid;
    std::string accountName;
};

// Reads and checks the credentials in `directory`: that all is there, holds now, belongs together and is signed by the
// account's authority. Throws std::runtime_error whose text is one line that names the file.
Credentials LoadCredentials(const std::filesystem::path& directory);

}  // namespace ZYNE::Linux
