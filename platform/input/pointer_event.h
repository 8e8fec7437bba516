// A pointer that moved, or whose button was pressed or released.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <utility>

#include "platform/input/pointer_item.h"

namespace ZYNE {

class PointerEvent {
public:
    // The pointer that the event is about.
    void SetPointerId(int32_t pointerId) { pointerId_ = pointerId; }
    void SetPointerItem(int32_t pointerId, const PointerItem& item) { items_.insert_or_assign(pointerId, item); }
    // Negative when the pointer is on no display.
    void SetTargetDisplayId(int32_t displayId) { targetDisplayId_ = displayId; }
    void SetPressedButtons(std::set<int32_t> buttons) { pressedButtons_ = std::move(buttons); }

    int32_t GetPointerId() const { return pointerId_; }
    // False, and `item` untouched, when the event does not tell about that pointer.
    bool GetPointerItem(int32_t pointerId, PointerItem& item) const {
        const auto found = items_.find(pointerId);
        if (found == items_.end()) {
            return false;
        }
        item = found->second;
        return true;
    }
    int32_t GetTargetDisplayId() const { return targetDisplayId_; }
    const std::set<int32_t>& GetPressedButtons() const { return pressedButtons_; }

private:
    int32_t pointerId_ = 0;
    std::map<int32_t, PointerItem> items_;  // by pointer id
    int32_t targetDisplayId_ = -1;
    std::set<int32_t> pressedButtons_;
};

}  // namespace ZYNE
