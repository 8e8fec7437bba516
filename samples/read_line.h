// Reads the small files in which Linux tells about itself.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace Sample {

// The first line of a file; empty when there is none.
inline std::string ReadLine(const std::filesystem::path& file) {
    std::ifstream stream(file);
    std::string line;
    std::getline(stream, line);
    return line;
}

// What follows the colon in the first line that begins with `label`, as in "model name : Some CPU".
inline std::string ReadLabelled(const std::filesystem::path& file, std::string_view label) {
    std::ifstream stream(file);
    for (std::string line; std::getline(stream, line);) {
        const size_t colon = line.find(':');
        if (line.starts_with(label) && colon != std::string::npos) {
            const size_t begin = line.find_first_not_of(" \t", colon + 1);
            return begin != std::string::npos ? line.substr(begin) : std::string();
        }
    }
    return {};
}

}  // namespace Sample
