#include "linux/base/disk_reserve.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <system_error>

namespace ZYNE::Linux {

uint64_t FreeBytes(const std::filesystem::path& path) {
    struct statvfs disk {};
    return statvfs(path.c_str(), &disk) == 0 ? uint64_t{disk.f_bavail} * disk.f_frsize : UINT64_MAX;
}

bool DiskReserve::Fill() {
    struct stat status {};
    if (stat(file_.c_str(), &status) == 0 && static_cast<size_t>(status.st_size) >= BYTES) {
        return true;
    }
    const int descriptor = open(file_.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR);
    if (descriptor < 0) {
        return false;
    }
    const bool isFilled = posix_fallocate(descriptor, 0, BYTES) == 0;
    close(descriptor);
    if (!isFilled) {
        GiveUp();
    }
    return isFilled;
}

bool DiskReserve::GiveUp() {
    std::error_code ignored;
    return std::filesystem::remove(file_, ignored);
}

}  // namespace ZYNE::Linux
