// Room on the disk that is kept for the day when it is full: what makes room, as deleting does, needs some itself.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <utility>

namespace ZYNE::Linux {

// Bytes that this user may still write on the disk that `path` is on. Without end when that is not known.
uint64_t FreeBytes(const std::filesystem::path& path);

// One thread at a time. Several processes may share a reserve.
class DiskReserve {
public:
    static constexpr size_t BYTES = size_t{256} << 10U;

    // The file is the reserve; nothing is done to it yet.
    explicit DiskReserve(std::filesystem::path file) : file_(std::move(file)) {}

    // Sees to it that the reserve is there. False when there is no room for it.
    bool Fill();
    // Gives its room to others. False when there was none.
    bool GiveUp();

private:
    const std::filesystem::path file_;
};

}  // namespace ZYNE::Linux
