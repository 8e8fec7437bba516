// Typed values in a row of bytes: what is sent with an IPC request, and what comes back.
//
//     Parcel parcel;
//     parcel.WriteString("hostname");
//     std::string name = parcel.ReadString();  // the reading place starts at the first byte
//
// Encoding, all little-endian: an int32 or a bool (0 or 1) is four bytes; a string is its length in bytes as an int32
// followed by its bytes; a UTF-16 string is its length in units as an int32 followed by two bytes a unit; a vector is
// its length as an int32 followed by its elements. Nothing is padded.
//
// A write answers false, and writes nothing, when the parcel would pass MAX_SIZE. A read past the end, or of a length
// that the remaining bytes cannot hold, gives 0, false or an empty string and leaves the reading place where it was;
// bytes from a stranger are safe to read.
//
// Not thread-safe.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/export.h"

namespace ZYNE {

class PLATFORM_API Parcel {
public:
    static constexpr size_t MAX_SIZE = 32u << 20;  // bytes

    Parcel() = default;
    // Takes over bytes that came from elsewhere.
    explicit Parcel(std::vector<uint8_t> bytes);
    virtual ~Parcel() = default;

    bool WriteInt32(int32_t value);
    bool WriteUint32(uint32_t value);
    bool WriteBool(bool value);
    bool WriteString(const std::string& value);
    bool WriteString16(const std::u16string& value);
    bool WriteStringVector(const std::vector<std::string>& values);

    int32_t ReadInt32();
    uint32_t ReadUint32();
    bool ReadBool();
    std::string ReadString();
    std::u16string ReadString16();
    // False when the bytes are no vector; `values` is then empty.
    bool ReadStringVector(std::vector<std::string>& values);

    const std::vector<uint8_t>& GetBytes() const { return bytes_; }
    size_t GetReadableBytes() const { return bytes_.size() - readPos_; }

private:
    bool Append(const void* data, size_t size);
    bool AppendSized(size_t count, const void* data, size_t size);
    bool Take(void* data, size_t size);
    // Reads a length and answers whether that many elements of `elementSize` bytes follow; moves only if they do.
    bool TakeLength(size_t elementSize, size_t& count);

    std::vector<uint8_t> bytes_;
    size_t readPos_ = 0;
};

}  // namespace ZYNE
