// Reads and writes the small files of accounts and credentials.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace ZYNE::Linux {

struct NewFile {
    std::string name;
    std::string content;
    bool isSecret;  // for its owner only
};

// Writes `files` into `directory`, which is made for its owner only when it is missing. All or none: a file that is
// there already is not touched, and nothing is written. Throws std::runtime_error with one line that names the file.
void WriteNewFiles(const std::filesystem::path& directory, const std::vector<NewFile>& files);

// The content of a file of at most a MiB. Throws std::runtime_error with one line that names the file.
std::string ReadSmallFile(const std::filesystem::path& file);

}  // namespace ZYNE::Linux
