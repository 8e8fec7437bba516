// A key that was pressed or released. Codes and actions are the port's.
#pragma once

#include <cstdint>

namespace ZYNE {

class KeyEvent {
public:
    void SetKeyCode(int32_t keyCode) { keyCode_ = keyCode; }
    void SetKeyAction(int32_t keyAction) { keyAction_ = keyAction; }

    int32_t GetKeyCode() const { return keyCode_; }
    int32_t GetKeyAction() const { return keyAction_; }

private:
    int32_t keyCode_ = 0;
    int32_t keyAction_ = 0;
};

}  // namespace ZYNE
