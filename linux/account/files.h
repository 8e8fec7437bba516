// Reads and writes the small files of accounts and credentials. What goes wrong is a std::runtime_error with one line
// that names the file.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/types.h>

namespace ZYNE::Linux {

struct NewFile {
    std::string name;
    std::string content;
    bool isSecret;  // for its owner only
};

// Writes `files` into `directory`, which is made for its owner only when it is missing. All or none: a file that is
// there already is not touched, and nothing is written. What root writes belongs to the directory's owner.
void WriteNewFiles(const std::filesystem::path& directory, const std::vector<NewFile>& files);

// The content of a file of at most a MiB.
std::string ReadSmallFile(const std::filesystem::path& file);

// The same of a file that belongs to `owner` or root, and that nobody else may read or write.
std::string ReadSecretFile(const std::filesystem::path& file, uid_t owner);

uid_t OwnerOf(const std::filesystem::path& directory);

// The system's word for `error`, a value of errno, behind the file's name.
[[noreturn]] void FailWithFile(const std::filesystem::path& file, int error);

// What `read` makes of the content of `file`, whose name is put in front of what `read` throws.
template <typename Read>
auto OfFile(const std::filesystem::path& file, const std::string& content, Read read) {
    try {
        return read(content);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(file.string() + ": " + error.what());
    }
}

}  // namespace ZYNE::Linux
