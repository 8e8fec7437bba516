#include "platform/ipc/parcel.h"

#include <bit>
#include <cstring>
#include <utility>

namespace ZYNE {

static_assert(std::endian::native == std::endian::little, "parcels are little-endian; a big-endian port must swap");

Parcel::Parcel(std::vector<uint8_t> bytes) : bytes_(std::move(bytes)) {}

bool Parcel::Append(const void* data, size_t size) {
    if (size > MAX_SIZE || bytes_.size() > MAX_SIZE - size) {
        return false;
    }
    const auto* first = static_cast<const uint8_t*>(data);
    bytes_.insert(bytes_.end(), first, first + size);
    return true;
}

bool Parcel::AppendSized(size_t count, const void* data, size_t size) {
    const auto length = static_cast<int32_t>(count);
    if (size > MAX_SIZE || bytes_.size() + sizeof(length) > MAX_SIZE - size) {
        return false;
    }
    return Append(&length, sizeof(length)) && Append(data, size);
}

bool Parcel::WriteInt32(int32_t value) {
    return Append(&value, sizeof(value));
}

bool Parcel::WriteUint32(uint32_t value) {
    return Append(&value, sizeof(value));
}

bool Parcel::WriteBool(bool value) {
    return WriteInt32(value ? 1 : 0);
}

bool Parcel::WriteString(const std::string& value) {
    return AppendSized(value.size(), value.data(), value.size());
}

bool Parcel::WriteString16(const std::u16string& value) {
    return AppendSized(value.size(), value.data(), value.size() * sizeof(char16_t));
}

bool Parcel::WriteStringVector(const std::vector<std::string>& values) {
    const size_t before = bytes_.size();
    bool written = WriteInt32(static_cast<int32_t>(values.size()));
    for (const std::string& value : values) {
        written = written && WriteString(value);
    }
    if (!written) {
        bytes_.resize(before);
    }
    return written;
}

bool Parcel::Take(void* data, size_t size) {
    if (GetReadableBytes() < size) {
        return false;
    }
    if (size > 0) {
        std::memcpy(data, bytes_.data() + readPos_, size);
    }
    readPos_ += size;
    return true;
}

bool Parcel::TakeLength(size_t elementSize, size_t& count) {
    const size_t before = readPos_;
    int32_t length = 0;
    if (!Take(&length, sizeof(length))) {
        return false;
    }
    if (length < 0 || static_cast<size_t>(length) > GetReadableBytes() / elementSize) {
        readPos_ = before;
        return false;
    }
    count = static_cast<size_t>(length);
    return true;
}

int32_t Parcel::ReadInt32() {
    int32_t value = 0;
    Take(&value, sizeof(value));
    return value;
}

uint32_t Parcel::ReadUint32() {
    uint32_t value = 0;
    Take(&value, sizeof(value));
    return value;
}

bool Parcel::ReadBool() {
    return ReadInt32() != 0;
}

std::string Parcel::ReadString() {
    size_t count = 0;
    if (!TakeLength(1, count)) {
        return {};
    }
    std::string value(count, '\0');
    Take(value.data(), count);
    return value;
}

std::u16string Parcel::ReadString16() {
    size_t count = 0;
    if (!TakeLength(sizeof(char16_t), count)) {
        return {};
    }
    std::u16string value(count, u'\0');
    Take(value.data(), count * sizeof(char16_t));
    return value;
}

bool Parcel::ReadStringVector(std::vector<std::string>& values) {
    values.clear();
    const size_t before = readPos_;
    size_t count = 0;
    if (!TakeLength(sizeof(int32_t), count)) {
        return false;
    }
    for (size_t i = 0; i < count; ++i) {
        size_t length = 0;
        if (!TakeLength(1, length)) {
            values.clear();
            readPos_ = before;
            return false;
        }
        std::string& value = values.emplace_back(length, '\0');
        Take(value.data(), length);
    }
    return true;
}

}  // namespace ZYNE
