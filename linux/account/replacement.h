// Replaces the small files of accounts and credentials.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "linux/account/files.h"

namespace ZYNE::Linux {

// Gives `files` in `directory` their content, in place of what is there, then removes those named in `gone`. When
// something fails nothing has changed; whoever is killed meanwhile leaves each file as it was or as it is to be. They
// are on the disk when this returns. One caller at a time for a directory. Throws std::runtime_error with one line that
// names the file.
void ReplaceFiles(const std::filesystem::path& directory, const std::vector<NewFile>& files,
    const std::vector<std::string>& gone = {});

}  // namespace ZYNE::Linux
