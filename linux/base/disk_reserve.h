// Room on the disk that is kept for when the disk is full: even deleting needs some.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <utility>

namespace ZYNE::Linux {

// Bytes that this user may still write on the disk of `path`. The largest number when that is not known.
uint64_t FreeBytes(const std::filesystem::path& path);

// One thread at a time. Several processes may share a reserve.
class DiskReserve {
public:
    static constexpr size_t BYTES = size_t{256} << 10U;

    // `file` is the reserve; it is not touched yet.
    explicit DiskReserve(std::filesystem::path file) : file_(std::move(file)) {}

    // Makes the reserve if it is not there. False when there is no room for it.
    bool Fill();
    // Frees its room. False when there was no reserve.
    bool GiveUp();

private:
    const std::filesystem::path file_;
};

}  // namespace ZYNE::Linux
