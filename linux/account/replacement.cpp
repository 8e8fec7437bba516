#include "linux/account/replacement.h"

#include <cerrno>
#include <cstdio>
#include <list>
#include <optional>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "linux/base/unique_fd.h"

namespace ZYNE::Linux {
namespace {

namespace fs = std::filesystem;

// A file that goes with this object, unless it has been renamed.
class TemporaryFile {
public:
    TemporaryFile(const fs::path& directory, const NewFile& file) : path_(directory / file.name) {
        unlink(path_.c_str());  // of somebody who was killed
        WriteNewFiles(directory, {file});
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() { unlink(path_.c_str()); }

    int RenameTo(const fs::path& other) const { return rename(path_.c_str(), other.c_str()); }

private:
    const fs::path path_;
};

// One file on its way to being replaced. The new content and a copy of the old lie beside it before anything changes,
// so that going back needs no room on the disk.
class Replacement {
public:
    Replacement(const fs::path& directory, const NewFile& file)
        : path_(directory / file.name), new_(directory, {file.name + ".new", file.content, file.isSecret}) {
        struct stat status {};
        if (stat(path_.c_str(), &status) == 0) {
            old_.emplace(directory,
                NewFile{file.name + ".old", ReadSmallFile(path_), (status.st_mode & (S_IRGRP | S_IROTH)) == 0});
        }
    }
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;
    // Goes back, unless it is to be kept.
    ~Replacement() {
        if (isDone_ && !isKept_) {
            GoBack();
        }
    }

    void Do() {
        if (new_.RenameTo(path_) != 0) {
            FailWithFile(path_, errno);
        }
        isDone_ = true;
    }
    void Keep() { isKept_ = true; }

private:
    void GoBack() const {
        if (old_) {
            old_->RenameTo(path_);
        } else {
            unlink(path_.c_str());
        }
    }

    const fs::path path_;
    const TemporaryFile new_;
    std::optional<TemporaryFile> old_;
    bool isDone_ = false;
    bool isKept_ = false;
};

void Sync(const fs::path& directory) {
    const UniqueFd descriptor(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!descriptor || fsync(descriptor.Get()) != 0) {
        FailWithFile(directory, errno);
    }
}

}  // namespace

void ReplaceFiles(const fs::path& directory, const std::vector<NewFile>& files, const std::vector<std::string>& gone) {
    std::list<Replacement> replacements;
    for (const NewFile& file : files) {
        replacements.emplace_back(directory, file);
    }
    for (Replacement& replacement : replacements) {
        replacement.Do();
    }
    Sync(directory);
    for (Replacement& replacement : replacements) {
        replacement.Keep();
    }
    for (const std::string& name : gone) {
        std::error_code ignored;  // nobody reads it any more
        fs::remove(directory / name, ignored);
    }
}

}  // namespace ZYNE::Linux
