// One display as it was when it was asked for.
#pragma once

#include <cstdint>

#include "platform/export.h"
#include "platform/ipc/ref_base.h"

namespace ZYNE {

class PLATFORM_API Display : public RefBase {
public:
    Display(uint64_t id, int32_t width, int32_t height) : id_(id), width_(width), height_(height) {}

    uint64_t GetId() const { return id_; }
    // Pixels.
    int32_t GetWidth() const { return width_; }
    int32_t GetHeight() const { return height_; }

private:
    uint64_t id_;
    int32_t width_;
    int32_t height_;
};

}  // namespace ZYNE
