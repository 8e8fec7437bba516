#include "linux/services/runtime_directory.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace ZYNE::Linux {
namespace {

constexpr char LOCK[] = "lock";
constexpr char BUS_LOCK[] = "bus.lock";

// The bus of a daemon that was killed is told to end in the same moment.
constexpr std::chrono::seconds PREDECESSOR_TIME{5};

std::runtime_error Failure(const std::string& what, const std::filesystem::path& path, int error) {
    return std::runtime_error(what + " " + path.native() + ": " + std::generic_category().message(error));
}

// True when it was not there before.
bool Make(const std::filesystem::path& path) {
    std::error_code error;
    if (path.has_parent_path()) {
        std::filesystem::create_directories(path.parent_path(), error);
    }
    if (mkdir(path.c_str(), S_IRWXU) == 0) {
        return true;
    }
    if (errno != EEXIST) {
        throw Failure("cannot make the directory", path, errno);
    }
    return false;
}

// Nothing is written through a link, nor where somebody else could change it.
void CheckOwnership(const std::filesystem::path& path) {
    const UniqueFd directory(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (!directory || fstat(directory.Get(), &status) < 0) {
        throw Failure("cannot use the directory", path, errno);
    }
    if (status.st_uid != geteuid()) {
        throw std::runtime_error("the directory " + path.native() + " belongs to another user");
    }
    if (fchmod(directory.Get(), S_IRWXU) < 0) {
        throw Failure("cannot close the directory to others:", path, errno);
    }
}

// The lock file at `path` with the lock taken; empty when somebody else has it. A predecessor removes the file while it
// still has the lock, so the file locked here may no longer be the one that others find.
UniqueFd TryLock(const std::filesystem::path& path) {
    for (;;) {
        UniqueFd file(open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
        if (!file) {
            throw Failure("cannot open", path, errno);
        }
        if (flock(file.Get(), LOCK_EX | LOCK_NB) < 0) {
            return {};
        }
        struct stat locked {};
        struct stat found {};
        if (fstat(file.Get(), &locked) == 0 && stat(path.c_str(), &found) == 0 && locked.st_ino == found.st_ino) {
            return file;
        }
    }
}

UniqueFd WaitForLock(const std::filesystem::path& path) {
    const auto deadline = std::chrono::steady_clock::now() + PREDECESSOR_TIME;
    for (;;) {
        UniqueFd lock = TryLock(path);
        if (lock || std::chrono::steady_clock::now() > deadline) {
            return lock;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

}  // namespace

RuntimeDirectory::RuntimeDirectory(const std::filesystem::path& path)
    : path_(std::filesystem::absolute(path)), made_(Make(path_)) {
    CheckOwnership(path_);
    lock_ = TryLock(path_ / LOCK);
    if (!lock_) {
        throw std::runtime_error("another daemon is running in " + path_.native());
    }
    busLock_ = WaitForLock(path_ / BUS_LOCK);
    if (!busLock_) {
        throw std::runtime_error("the bus of an earlier daemon is still running in " + path_.native());
    }
}

RuntimeDirectory::~RuntimeDirectory() {
    std::error_code ignored;
    std::filesystem::remove(path_ / BUS_LOCK, ignored);
    std::filesystem::remove(path_ / LOCK, ignored);
    if (made_) {
        std::filesystem::remove(path_, ignored);
    }
}

void RuntimeDirectory::Write(const std::filesystem::path& name, const std::string& text) const {
    const std::filesystem::path path = path_ / name;
    std::error_code error;
    std::filesystem::create_directories(path.parent_path(), error);
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    file.close();
    if (!file) {
        throw std::runtime_error("cannot write " + path.native());
    }
}

}  // namespace ZYNE::Linux
