#include "linux/account/files.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "linux/base/unique_fd.h"
#include "linux/base/write_all.h"

namespace ZYNE::Linux {
namespace {

namespace fs = std::filesystem;

constexpr off_t MAX_BYTES = off_t{1} << 20U;
constexpr mode_t OF_OTHERS = S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;

void MakeDirectory(const fs::path& directory) {
    if (mkdir(directory.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
        FailWithFile(directory, errno);
    }
}

void GiveToOwnerOf(const fs::path& directory, int descriptor, const fs::path& file) {
    struct stat status {};
    if (geteuid() == 0 &&
        (stat(directory.c_str(), &status) != 0 || fchown(descriptor, status.st_uid, status.st_gid) != 0)) {
        FailWithFile(file, errno);
    }
}

void WriteNew(const fs::path& directory, const NewFile& file) {
    const fs::path path = directory / file.name;
    const mode_t mode = file.isSecret ? S_IRUSR | S_IWUSR : S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;
    const UniqueFd descriptor(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, mode));
    if (!descriptor) {
        FailWithFile(path, errno);
    }
    try {
        GiveToOwnerOf(directory, descriptor.Get(), path);
        if (!WriteAll(descriptor.Get(), file.content) || fsync(descriptor.Get()) != 0) {
            FailWithFile(path, errno);
        }
    } catch (...) {
        unlink(path.c_str());
        throw;
    }
}

struct OpenFile {
    UniqueFd descriptor;
    struct stat status;
};

// Never waits, whatever kind of file it is.
OpenFile Open(const fs::path& file) {
    OpenFile opened{UniqueFd(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)), {}};
    if (!opened.descriptor || fstat(opened.descriptor.Get(), &opened.status) != 0) {
        FailWithFile(file, errno);
    }
    if (!S_ISREG(opened.status.st_mode)) {
        throw std::runtime_error(file.string() + ": not a file");
    }
    return opened;
}

std::string ReadAll(const OpenFile& opened, const fs::path& file) {
    if (opened.status.st_size > MAX_BYTES) {
        FailWithFile(file, EFBIG);
    }
    std::string content(static_cast<size_t>(opened.status.st_size), '\0');
    size_t taken = 0;
    while (taken < content.size()) {
        const ssize_t now = read(opened.descriptor.Get(), content.data() + taken, content.size() - taken);
        if (now < 0 && errno != EINTR) {
            FailWithFile(file, errno);
        }
        if (now == 0) {
            break;
        }
        taken += now > 0 ? static_cast<size_t>(now) : 0;
    }
    content.resize(taken);
    return content;
}

}  // namespace

void FailWithFile(const fs::path& file, int error) {
    throw std::runtime_error(file.string() + ": " + std::generic_category().message(error));
}

void WriteNewFiles(const fs::path& directory, const std::vector<NewFile>& files) {
    MakeDirectory(directory);
    for (size_t written = 0; written < files.size(); ++written) {
        try {
            WriteNew(directory, files[written]);
        } catch (...) {
            while (written > 0) {
                unlink((directory / files[--written].name).c_str());
            }
            throw;
        }
    }
}

std::string ReadSmallFile(const fs::path& file) {
    return ReadAll(Open(file), file);
}

std::string ReadSecretFile(const fs::path& file, uid_t owner) {
    const OpenFile opened = Open(file);
    if (opened.status.st_uid != owner && opened.status.st_uid != 0) {
        throw std::runtime_error(
            file.string() + ": belongs to another user, give it to the device's with chown and chmod 600");
    }
    if ((opened.status.st_mode & OF_OTHERS) != 0) {
        throw std::runtime_error(
            file.string() + ": others may read or change it, close it to them with chmod 600 " + file.string());
    }
    return ReadAll(opened, file);
}

uid_t OwnerOf(const fs::path& directory) {
    struct stat status {};
    if (stat(directory.c_str(), &status) != 0) {
        FailWithFile(directory, errno);
    }
    return status.st_uid;
}

}  // namespace ZYNE::Linux
