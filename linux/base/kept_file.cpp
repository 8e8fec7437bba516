#include "linux/base/kept_file.h"

#include <fstream>
#include <stdexcept>

namespace ZYNE::Linux {

void WriteKeptFile(const std::filesystem::path& file, const std::string& content) {
    std::filesystem::path written = file;
    written += ".new";
    if (!(std::ofstream(written) << content << std::flush)) {
        throw std::runtime_error(written.string() + " cannot be written");
    }
    std::filesystem::rename(written, file);
}

}  // namespace ZYNE::Linux
