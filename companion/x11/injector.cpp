#include "companion/x11/injector.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <stdexcept>

#include <xcb/xtest.h>

#include "linux/desktop/x_link.h"

namespace ZYNE::Companion {
namespace {

constexpr int32_t NOTCH = 120;
constexpr Button WHEEL_UP = 4;
constexpr Button WHEEL_DOWN = 5;
constexpr Button WHEEL_LEFT = 6;
constexpr Button WHEEL_RIGHT = 7;
// A message asks for no more than a person can turn in a moment.
constexpr int32_t MOST_NOTCHES = 100;

int32_t ToCoordinate(int32_t value) {
    return std::clamp<int32_t>(value, 0, std::numeric_limits<int16_t>::max());
}

// Whole notches of the sum; what is left of it stays.
int32_t TakeNotches(int32_t& rest, int32_t more) {
    const int64_t sum = int64_t{rest} + more;
    rest = static_cast<int32_t>(sum % NOTCH);
    return static_cast<int32_t>(std::clamp<int64_t>(sum / NOTCH, -MOST_NOTCHES, MOST_NOTCHES));
}

}  // namespace

Injector::Injector(xcb_connection_t* connection, xcb_window_t root, OwnEvents& own, LockKeys& lockKeys, Keeper& keeper)
    : connection_(connection), root_(root), own_(own), lockKeys_(lockKeys), keeper_(keeper) {
    const auto* extension = xcb_get_extension_data(connection, &xcb_test_id);
    if (extension == nullptr || extension->present == 0) {
        throw std::runtime_error("the X server has no test extension");
    }
    // Works also while a program has the whole server for itself.
    xcb_test_grab_control(connection, 1);
}

void Injector::MovePointer(Point to) {
    const Point there{ToCoordinate(to.x), ToCoordinate(to.y)};
    const auto cookie = xcb_test_fake_input(connection_, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, root_,
        static_cast<int16_t>(there.x), static_cast<int16_t>(there.y), 0);
    own_.Add(cookie.sequence, {OwnEvents::Kind::MOTION, false, 0, there});
}

void Injector::PressKey(KeyCode code, bool isDown) {
    const uint32_t key = code + Linux::X_FIRST_KEY;
    const auto* setup = xcb_get_setup(connection_);
    if (key >= setup->min_keycode && key <= setup->max_keycode) {
        Press(static_cast<uint8_t>(key), isDown);
    }
}

void Injector::Press(uint8_t key, bool isDown) {
    if (isDown ? !keys_.insert(key).second : keys_.erase(key) == 0) {
        return;
    }
    if (isDown) {
        keeper_.MarkKey(key, true);
    }
    Send(isDown ? XCB_KEY_PRESS : XCB_KEY_RELEASE, key, {OwnEvents::Kind::KEY, isDown, key, {}});
}

void Injector::PressButton(Button button, bool isDown) {
    const bool isWheel = button >= WHEEL_UP && button <= WHEEL_RIGHT;
    if (button > 0 && button <= MAX_BUTTON && !isWheel) {
        SendButton(button, isDown);
    }
}

void Injector::SendButton(Button button, bool isDown) {
    if (isDown ? !buttons_.insert(button).second : buttons_.erase(button) == 0) {
        return;
    }
    if (isDown) {
        keeper_.MarkButton(button, true);
    }
    Send(isDown ? XCB_BUTTON_PRESS : XCB_BUTTON_RELEASE, button, {OwnEvents::Kind::BUTTON, isDown, button, {}});
}

void Injector::ScrollBy(const Scroll& scroll) {
    const int32_t down = TakeNotches(rest_.dy, scroll.dy);
    const int32_t right = TakeNotches(rest_.dx, scroll.dx);
    Tap(down > 0 ? WHEEL_DOWN : WHEEL_UP, std::abs(down));
    Tap(right > 0 ? WHEEL_RIGHT : WHEEL_LEFT, std::abs(right));
}

void Injector::Tap(Button button, int32_t times) {
    for (; times > 0; --times) {
        SendButton(button, true);
        SendButton(button, false);
    }
}

void Injector::SetLocks(const Locks& locks, uint32_t modifiers) {
    const Locks now = lockKeys_.Read(modifiers);
    SetLock(LockKeys::Lock::CAPS, now.caps, locks.caps);
    SetLock(LockKeys::Lock::NUM, now.num, locks.num);
    SetLock(LockKeys::Lock::SCROLL, now.scroll, locks.scroll);
}

void Injector::SetLock(LockKeys::Lock lock, bool isOn, bool wanted) {
    const auto key = lockKeys_.KeyOf(lock);
    if (isOn != wanted && key && !keys_.contains(*key)) {
        Press(*key, true);
        Press(*key, false);
    }
}

void Injector::ReleaseAll() {
    for (const Button button : std::set(buttons_)) {
        SendButton(button, false);
    }
    for (const uint8_t key : std::set(keys_)) {
        Press(key, false);
    }
    rest_ = {};
}

void Injector::Flush() {
    xcb_flush(connection_);
}

void Injector::Confirm(const OwnEvents::Event& event) {
    if (event.kind != OwnEvents::Kind::MOTION && !event.isDown && !own_.Expects(event.kind, event.code)) {
        Unmark(event.kind, event.code);
    }
}

void Injector::WaitUntilDone() {
    const Linux::XReply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
    for (uint32_t key = 0; key < KeeperBoard::KEYS; ++key) {
        Unmark(OwnEvents::Kind::KEY, key);
    }
    for (uint32_t button = 0; button < KeeperBoard::BUTTONS; ++button) {
        Unmark(OwnEvents::Kind::BUTTON, button);
    }
}

void Injector::Unmark(OwnEvents::Kind kind, uint32_t code) {
    if (kind == OwnEvents::Kind::KEY && !keys_.contains(static_cast<uint8_t>(code))) {
        keeper_.MarkKey(code, false);
    } else if (kind == OwnEvents::Kind::BUTTON && !buttons_.contains(static_cast<Button>(code))) {
        keeper_.MarkButton(code, false);
    }
}

void Injector::Send(uint8_t type, uint8_t code, const OwnEvents::Event& event) {
    const auto cookie = xcb_test_fake_input(connection_, type, code, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    own_.Add(cookie.sequence, event);
}

}  // namespace ZYNE::Companion
