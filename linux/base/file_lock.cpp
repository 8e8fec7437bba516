#include "linux/base/file_lock.h"

#include <cerrno>
#include <fstream>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ZYNE::Linux {
namespace {

struct flock WholeFile() {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return lock;
}

bool IsStillThere(int descriptor, const std::filesystem::path& path) {
    struct stat ours {};
    struct stat there {};
    return fstat(descriptor, &ours) == 0 && stat(path.c_str(), &there) == 0 && ours.st_dev == there.st_dev &&
        ours.st_ino == there.st_ino;
}

// The note is for people. On a full disk it is missing, but the lock holds.
void NoteHolder(int descriptor) {
    const std::string process = std::to_string(getpid()) + "\n";
    if (ftruncate(descriptor, 0) == 0) {
        [[maybe_unused]] const ssize_t ignored = write(descriptor, process.data(), process.size());
    }
}

}  // namespace

// The last holder may have removed the file after we opened it and before we locked it: the lock would be on a file
// that nobody finds any more.
FileLock::FileLock(const std::filesystem::path& path) {
    constexpr mode_t OWN = 0600;
    for (;;) {
        UniqueFd file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, OWN));
        if (!file) {
            throw std::system_error(errno, std::generic_category(), path.string());
        }
        struct flock lock = WholeFile();
        if (fcntl(file.Get(), F_OFD_SETLK, &lock) != 0) {
            return;
        }
        if (IsStillThere(file.Get(), path)) {
            NoteHolder(file.Get());
            descriptor_ = std::move(file);
            return;
        }
    }
}

bool FileLock::IsHeldBySomebody(const std::filesystem::path& path) {
    const UniqueFd file(open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW));
    struct flock lock = WholeFile();
    return file && fcntl(file.Get(), F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

std::string FileLock::Holder(const std::filesystem::path& path) {
    std::string process;
    std::ifstream(path) >> process;
    return process;
}

}  // namespace ZYNE::Linux
