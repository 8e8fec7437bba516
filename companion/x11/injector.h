// Does at a display what a person at another device does.
#pragma once

#include <cstdint>
#include <set>

#include <xcb/xcb.h>

#include "companion/core/input.h"
#include "companion/x11/keeper.h"
#include "companion/x11/lock_keys.h"
#include "companion/x11/own_events.h"

namespace ZYNE::Companion {

// The loop's thread. Nothing but WaitUntilDone waits for the server. What is pressed already is not pressed once more, and
// only what was pressed here is released.
class Injector {
public:
    // Throws std::runtime_error with one line when the server takes no injections.
    Injector(xcb_connection_t* connection, xcb_window_t root, OwnEvents& own, LockKeys& lockKeys, Keeper& keeper);

    void MovePointer(Point to);
    void PressKey(KeyCode code, bool isDown);
    void PressButton(Button button, bool isDown);
    // Parts of a notch are kept until they make one.
    void ScrollBy(const Scroll& scroll);
    // Presses the lock keys whose lock, as `modifiers` say, is not as wanted.
    void SetLocks(const Locks& locks, uint32_t modifiers);
    void ReleaseAll();
    void Flush();

    // The server has done that of ours. A key or button that went up, and has not been pressed once more meanwhile,
    // needs no keeper any more; what was only sent may be lost when this process dies.
    void Confirm(const OwnEvents::Event& event);
    // Waits until it has done all.
    void WaitUntilDone();

private:
    void Press(uint8_t key, bool isDown);  // as the server counts
    void Tap(Button button, int32_t times);
    void SendButton(Button button, bool isDown);
    void SetLock(LockKeys::Lock lock, bool isOn, bool wanted);
    // Nothing when it is down.
    void Unmark(OwnEvents::Kind kind, uint32_t code);
    void Send(uint8_t type, uint8_t code, const OwnEvents::Event& event);

    xcb_connection_t* const connection_;
    const xcb_window_t root_;
    OwnEvents& own_;
    LockKeys& lockKeys_;
    Keeper& keeper_;
    std::set<uint8_t> keys_;  // down
    std::set<Button> buttons_;
    Scroll rest_;  // less than a notch
};

}  // namespace ZYNE::Companion
