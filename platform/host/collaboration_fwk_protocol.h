// One message that arrived on the channel between devices.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace ZYNE::CollaborationFwk {

// Immutable.
class CollaborationFwkProtocol {
public:
    // A message without payload.
    CollaborationFwkProtocol() = default;
    explicit CollaborationFwkProtocol(std::string payload) : payload_(std::move(payload)), hasPayload_(true) {}

    // The payload followed by a zero byte, valid as long as this object; null when there is none. It may hold further
    // zero bytes.
    const char* GetPayload() const { return hasPayload_ ? payload_.c_str() : nullptr; }
    // In bytes, without the zero byte at the end.
    uint32_t GetPayloadLength() const { return static_cast<uint32_t>(payload_.size()); }

private:
    std::string payload_;
    bool hasPayload_ = false;
};

}  // namespace ZYNE::CollaborationFwk
