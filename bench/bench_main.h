// What every benchmark's main does.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <utility>

namespace ZYNE::Bench {

// A directory of its own, gone with the object.
class TemporaryDirectory {
public:
    TemporaryDirectory() : path_(std::filesystem::temp_directory_path() / "cfwkbenchXXXXXX") {
        if (mkdtemp(path_.data()) == nullptr) {
            throw std::runtime_error("no temporary directory");
        }
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    std::filesystem::path Path() const { return path_; }

private:
    std::string path_;
};

// Runs `bench` and gives the exit status.
template <typename Bench>
int BenchMain(const char* name, Bench bench) {
    try {
        bench();
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", name, error.what());
        return 1;
    }
}

}  // namespace ZYNE::Bench
