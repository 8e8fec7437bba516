#include "linux/base/own_directory.h"

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

namespace ZYNE::Linux {
namespace {

std::string Reason(int error) {
    return std::generic_category().message(error);
}

}  // namespace

bool EnsureOwnDirectory(const std::filesystem::path& directory) {
    const bool isMade = mkdir(directory.c_str(), S_IRWXU) == 0;
    if (!isMade && errno != EEXIST) {
        throw std::runtime_error(directory.string() + ": cannot be created: " + Reason(errno));
    }
    CheckOwnDirectory(directory);
    return isMade;
}

// In /tmp somebody else may have been first.
void CheckOwnDirectory(const std::filesystem::path& directory) {
    struct stat status {};
    if (lstat(directory.c_str(), &status) != 0) {
        throw std::runtime_error(directory.string() + ": " + Reason(errno));
    }
    if (!S_ISDIR(status.st_mode)) {
        throw std::runtime_error(directory.string() + " is not a directory");
    }
    if (status.st_uid != geteuid()) {
        throw std::runtime_error(directory.string() + " belongs to another user");
    }
    if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        throw std::runtime_error(directory.string() + " is open to other users: its mode must be 0700");
    }
}

}  // namespace ZYNE::Linux
