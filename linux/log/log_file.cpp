#include "linux/log/log_file.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <system_error>
#include <unistd.h>

namespace ZYNE::Linux {

bool WriteAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(descriptor, text.data(), text.size());
        if (written < 0 && errno != EINTR) {
            return false;
        }
        text.remove_prefix(written < 0 ? 0 : static_cast<size_t>(written));
    }
    return true;
}

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

void LogFile::Write(std::string_view lines) {
    if (size_ + lines.size() > MOST_BYTES && size_ > 0) {
        Rotate();
    }
    if (WriteAll(descriptor_, lines)) {
        size_ += lines.size();
    }
}

// Where renaming or opening fails, the old file goes on.
void LogFile::Rotate() {
    std::filesystem::path old = path_;
    old += ".1";
    std::error_code error;
    std::filesystem::rename(path_, old, error);
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
