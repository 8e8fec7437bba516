// Makes accounts, enrols devices in them and takes devices' trust away.
//
// What goes wrong is a std::runtime_error whose text is one line for people; nothing has changed then.
#pragma once

#include <filesystem>
#include <string>

namespace ZYNE::Linux {

// Makes the account `accountName`, 1 to 64 characters, in `directory`: the authority's key and certificate, and the key
// by which its devices meet. Who has the authority's key can enrol devices; it never leaves the directory. Overwrites
// no file.
void CreateAccount(const std::filesystem::path& directory, const std::string& accountName);

// Makes the credentials of the device `udid` in `deviceDirectory`: all that the device needs, to be kept by it alone.
// Overwrites no file.
void EnrollDevice(const std::filesystem::path& accountDirectory, const std::filesystem::path& deviceDirectory,
    const std::string& udid);

// Gives the device in `deviceDirectory`, which the account has enrolled, whether that still holds or not, a new
// certificate for its udid and key, and whatever else a device has by now.
void RenewDevice(const std::filesystem::path& accountDirectory, const std::filesystem::path& deviceDirectory);

// Puts the device `udid` on the account's list of devices that are not to be trusted any more, for good.
void RevokeDevice(const std::filesystem::path& accountDirectory, const std::string& udid);

// That list, to be handed to devices; empty while nothing was ever revoked. Needs no key of the account.
std::string RevocationDocument(const std::filesystem::path& accountDirectory);

}  // namespace ZYNE::Linux
