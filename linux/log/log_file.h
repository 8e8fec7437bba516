// The device's log file.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

namespace ZYNE::Linux {

// One thread at a time. The file is the user's own (0600). When it would grow beyond its limit it is renamed to ".1",
// which replaces an earlier one, and begun anew. Both together take at most a quarter of the room that the disk would
// have without them: where that shrinks, the older one goes.
class LogFile {
public:
    static constexpr size_t MAX_BYTES = size_t{8} << 20U;

    LogFile() = default;
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;
    ~LogFile();

    // Appends to the file `path`. Throws std::system_error when that cannot be opened.
    void Open(const std::filesystem::path& path);
    bool IsOpen() const { return descriptor_ >= 0; }

    // Lines whole. All of them or, as on a full disk, none: false.
    bool Write(std::string_view lines);

private:
    std::filesystem::path Old() const;
    size_t Bound();
    void Rotate();

    std::filesystem::path path_;
    int descriptor_ = -1;
    size_t size_ = 0;
};

}  // namespace ZYNE::Linux
