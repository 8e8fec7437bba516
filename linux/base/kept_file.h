// Small files that outlive the process.
#pragma once

#include <filesystem>
#include <string>

namespace ZYNE::Linux {

// Replaces what `file` holds, or makes it. A process killed meanwhile leaves either the old content or the new. Throws
// std::runtime_error with one line that names the file.
void WriteKeptFile(const std::filesystem::path& file, const std::string& content);

}  // namespace ZYNE::Linux
