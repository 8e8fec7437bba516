#include "linux/log/log_file.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/types.h>
#include <system_error>
#include <unistd.h>

#include "linux/base/write_all.h"

namespace ZYNE::Linux {

LogFile::~LogFile() {
    if (IsOpen()) {
        close(descriptor_);
    }
}

void LogFile::Open(const std::filesystem::path& path) {
    constexpr mode_t OWN = 0600;
    const int descriptor = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW, OWN);
    struct stat status {};
    if (descriptor < 0 || fstat(descriptor, &status) != 0) {
        throw std::system_error(errno, std::generic_category(), path.string());
    }
    if (IsOpen()) {
        close(descriptor_);
    }
    descriptor_ = descriptor;
    path_ = path;
    size_ = static_cast<size_t>(status.st_size);
}

std::filesystem::path LogFile::Old() const {
    std::filesystem::path old = path_;
    old += ".1";
    return old;
}

// How large the file may be. An older one that is too large is removed, which it is not right after it was renamed: two
// files have a quarter.
size_t LogFile::Bound() {
    constexpr uintmax_t SHARE = 10;
    constexpr uintmax_t OLD_SHARE = 8;
    struct statvfs disk {};
    if (fstatvfs(descriptor_, &disk) != 0) {
        return MAX_BYTES;
    }
    std::error_code error;
    const uintmax_t oldSize = std::filesystem::file_size(Old(), error);
    const uintmax_t all = uintmax_t{disk.f_bavail} * disk.f_frsize + size_ + (error ? 0 : oldSize);
    if (!error && oldSize > all / OLD_SHARE) {
        std::filesystem::remove(Old(), error);
    }
    return static_cast<size_t>(std::min<uintmax_t>(MAX_BYTES, all / SHARE));
}

bool LogFile::Write(std::string_view lines) {
    if (size_ + lines.size() > Bound() && size_ > 0) {
        Rotate();
    }
    // Once more: what was renamed may be too large for an older one.
    const size_t bound = Bound();
    if (size_ + lines.size() > bound && bound < MAX_BYTES) {
        return false;
    }
    if (!WriteAll(descriptor_, lines)) {
        [[maybe_unused]] const int ignored = ftruncate(descriptor_, static_cast<off_t>(size_));  // lines whole
        return false;
    }
    size_ += lines.size();
    return true;
}

// Where renaming or opening fails, the old file goes on.
void LogFile::Rotate() {
    std::error_code error;
    std::filesystem::rename(path_, Old(), error);
    if (error) {
        return;
    }
    try {
        Open(path_);
    } catch (const std::system_error&) {
        size_ = 0;
    }
}

}  // namespace ZYNE::Linux
