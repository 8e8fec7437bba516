// Where one pointer is and how it has moved.
#pragma once

#include <cstdint>

namespace ZYNE {

class PointerItem {
public:
    // Pixels from the upper left corner of the display that the pointer is on.
    void SetDisplayX(int32_t x) { displayX_ = x; }
    void SetDisplayY(int32_t y) { displayY_ = y; }
    // How far it moved since the event before: as the device reported it, or by its places where the device tells only
    // those.
    void SetRawDx(int32_t dx) { rawDx_ = dx; }
    void SetRawDy(int32_t dy) { rawDy_ = dy; }
    // The input device.
    void SetDeviceId(int32_t deviceId) { deviceId_ = deviceId; }

    int32_t GetDisplayX() const { return displayX_; }
    int32_t GetDisplayY() const { return displayY_; }
    int32_t GetRawDx() const { return rawDx_; }
    int32_t GetRawDy() const { return rawDy_; }
    int32_t GetDeviceId() const { return deviceId_; }

private:
    int32_t displayX_ = 0;
    int32_t displayY_ = 0;
    int32_t rawDx_ = 0;
    int32_t rawDy_ = 0;
    int32_t deviceId_ = 0;
};

}  // namespace ZYNE
