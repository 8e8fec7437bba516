#include "client/file_lock.h"

#include <cerrno>
#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace ZYNE::Client {
namespace {

struct flock WholeFile() {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return lock;
}

// Another process may have removed the file between our opening and our locking it: the lock would be on a file that
// nobody finds any more.
bool IsStillThere(int descriptor, const std::filesystem::path& path) {
    struct stat ours {};
    struct stat there {};
    return fstat(descriptor, &ours) == 0 && stat(path.c_str(), &there) == 0 && ours.st_dev == there.st_dev &&
        ours.st_ino == there.st_ino;
}

}  // namespace

FileLock::FileLock(const std::filesystem::path& path) {
    constexpr mode_t OWN = 0600;
    const int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, OWN);
    if (descriptor < 0) {
        throw std::system_error(errno, std::generic_category(), path.string());
    }
    struct flock lock = WholeFile();
    if (fcntl(descriptor, F_OFD_SETLK, &lock) != 0 || !IsStillThere(descriptor, path)) {
        close(descriptor);
        return;
    }
    descriptor_ = descriptor;
    // Who holds it is for people. On a full disk that is not known, but the lock holds.
    const std::string process = std::to_string(getpid()) + "\n";
    if (ftruncate(descriptor, 0) == 0) {
        [[maybe_unused]] const ssize_t ignored = write(descriptor, process.data(), process.size());
    }
}

FileLock::FileLock(FileLock&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}

FileLock::~FileLock() {
    if (IsHeld()) {
        close(descriptor_);
    }
}

bool FileLock::IsHeldBySomebody(const std::filesystem::path& path) {
    const int descriptor = open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW);
    if (descriptor < 0) {
        return false;
    }
    struct flock lock = WholeFile();
    const bool held = fcntl(descriptor, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
    close(descriptor);
    return held;
}

std::string FileLock::Holder(const std::filesystem::path& path) {
    std::string process;
    std::ifstream(path) >> process;
    return process;
}

}  // namespace ZYNE::Client
