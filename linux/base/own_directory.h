// Directories that are the user's own, and closed to others.
#pragma once

#include <filesystem>

namespace ZYNE::Linux {

// Makes sure that `directory` is there, a directory itself and not a link to one, of this user and closed to others
// (0700). Only its last part is made; whether it was. Throws std::runtime_error with one line.
bool EnsureOwnDirectory(const std::filesystem::path& directory);

// The same of one that is there.
void CheckOwnDirectory(const std::filesystem::path& directory);

}  // namespace ZYNE::Linux
