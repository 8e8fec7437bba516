// The files by which a device proves who it is and of which account.
#pragma once

#include <ctime>
#include <filesystem>
#include <string>

namespace ZYNE::Linux {

struct Credentials {
    std::filesystem::path directory;  // absolute
    std::string udid;
    std::string accountName;
    std::string authority;    // the account's certificate, PEM
    std::string certificate;  // PEM; its common name is the udid
    std::string key;          // PEM, without a pass phrase
    std::string meetingKey;   // 32 bytes that the account's devices share
    std::time_t validUntil;   // the end of the device's certificate
};

// Reads and checks the credentials in `directory`: that all is there, holds now, belongs together, that the account's
// authority has signed it, and that the keys are of this process's user or root and closed to others. Throws
// std::runtime_error whose text is one line that names the file.
Credentials LoadCredentials(const std::filesystem::path& directory);

}  // namespace ZYNE::Linux
