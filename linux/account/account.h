// Makes accounts and enrols devices in them.
//
// What goes wrong is a std::runtime_error whose text is one line for people; nothing is written then. No file that
// exists is ever overwritten.
#pragma once

#include <filesystem>
#include <string>

namespace ZYNE::Linux {

// Makes the account `accountName`, 1 to 64 characters, in `directory`: the authority's key and certificate, and the
// policy that it signed for all its devices. Who has the key can enrol devices; it never leaves the directory.
void CreateAccount(const std::filesystem::path& directory, const std::string& accountName);

// Makes the credentials of the device `udid` in `deviceDirectory`: all that the device needs, to be kept by it alone.
void EnrollDevice(const std::filesystem::path& accountDirectory, const std::filesystem::path& deviceDirectory,
    const std::string& udid);

}  // namespace ZYNE::Linux
