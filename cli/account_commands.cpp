#include <iostream>

#include "cli/commands.h"
#include "linux/account/account.h"
#include "linux/account/udid.h"

namespace ZYNE::Cli {

int CreateAccount(const std::string& directory, const std::string& name) {
    Linux::CreateAccount(directory, name);
    std::cout << "The account \"" << name << "\" is in " << directory
              << ". Keep it secret: who has it can add devices.\n"
                 "Add one with collabctl device enroll --account "
              << directory << " --directory DIR.\n";
    return 0;
}

int EnrollDevice(const std::string& account, const std::string& directory, const std::string& udid) {
    if (!udid.empty() && !Linux::IsUdid(udid)) {
        throw CommandError("a udid has 8 to 64 letters, digits, \"-\" and \"_\"");
    }
    Linux::EnrollDevice(account, directory, udid.empty() ? Linux::NewUdid() : udid);
    std::cout << "The device's credentials are in " << directory << ". Name them in its configuration.\n"
              << "Note what the file udid in it says: should the device be lost, it is revoked by that.\n";
    return 0;
}

int RenewDevice(const std::string& account, const std::string& directory) {
    Linux::RenewDevice(account, directory);
    std::cout << "The device's credentials in " << directory << " are renewed. It uses them from its next start on.\n";
    return 0;
}

}  // namespace ZYNE::Cli
