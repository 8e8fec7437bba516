// Directories that are the user's own, and closed to others.
#pragma once

#include <filesystem>

namespace ZYNE::Linux {

// Makes sure that `directory` is there: a directory and not a link to one, owned by this user and closed to others
// (0700). Makes only the last part of the path; returns whether it did. Throws std::runtime_error with one line.
bool EnsureOwnDirectory(const std::filesystem::path& directory);

// The same check for a directory that must be there already.
void CheckOwnDirectory(const std::filesystem::path& directory);

}  // namespace ZYNE::Linux
