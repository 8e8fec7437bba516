#include "linux/account/files.h"

#include <cerrno>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ZYNE::Linux {
namespace {

namespace fs = std::filesystem;

constexpr uintmax_t MOST_BYTES = uintmax_t{1} << 20U;

[[noreturn]] void Fail(const fs::path& file, int error) {
    throw std::runtime_error(file.string() + ": " + std::generic_category().message(error));
}

void MakeDirectory(const fs::path& directory) {
    if (mkdir(directory.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
        Fail(directory, errno);
    }
}

void WriteAll(int descriptor, const std::string& content, const fs::path& file) {
    for (size_t written = 0; written < content.size();) {
        const ssize_t now = write(descriptor, content.data() + written, content.size() - written);
        if (now < 0 && errno != EINTR) {
            Fail(file, errno);
        }
        written += now > 0 ? static_cast<size_t>(now) : 0;
    }
}

void WriteNew(const fs::path& path, const NewFile& file) {
    const mode_t mode = file.isSecret ? S_IRUSR | S_IWUSR : S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;
    const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, mode);
    if (descriptor < 0) {
        Fail(path, errno);
    }
    try {
        WriteAll(descriptor, file.content, path);
    } catch (...) {
        close(descriptor);
        unlink(path.c_str());
        throw;
    }
    if (close(descriptor) != 0) {
        const int error = errno;
        unlink(path.c_str());
        Fail(path, error);
    }
}

}  // namespace

void WriteNewFiles(const fs::path& directory, const std::vector<NewFile>& files) {
    MakeDirectory(directory);
    for (size_t written = 0; written < files.size(); ++written) {
        try {
            WriteNew(directory / files[written].name, files[written]);
        } catch (...) {
            while (written > 0) {
                unlink((directory / files[--written].name).c_str());
            }
            throw;
        }
    }
}

std::string ReadSmallFile(const fs::path& file) {
    std::error_code error;
    const uintmax_t size = fs::file_size(file, error);
    if (error) {
        Fail(file, error.value());
    }
    if (size > MOST_BYTES) {
        Fail(file, EFBIG);
    }
    std::ifstream stream(file, std::ios::binary);
    std::string content{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    if (!stream) {
        Fail(file, EACCES);
    }
    return content;
}

}  // namespace ZYNE::Linux
