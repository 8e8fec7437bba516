// A display system in memory: persons move and press at it, the machine captures and injects.
#pragma once

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "companion/core/desk.h"
#include "companion/desktop/desktop.h"

namespace ZYNE::Companion {

class SimulatedDesktop final : public Desktop {
public:
    // What a person does; what the listener is to be told.
    Motion Move(double dx, double dy) {
        if (!isCaptured) {
            position =
                Desk(screens).Moved(position, static_cast<int64_t>(dx * PIXEL), static_cast<int64_t>(dy * PIXEL));
        }
        return {dx, dy, PixelOf(position)};
    }

    std::vector<Screen> GetScreens() override { return screens; }
    InputState GetState() override {
        InputState state{PixelOf(position), keys, buttons, locks};
        state.keys.insert(pressedKeys.begin(), pressedKeys.end());
        state.buttons.insert(pressedButtons.begin(), pressedButtons.end());
        return state;
    }
    std::string Capture(bool /*withButtons*/) override {
        Expect(!isCaptured, "captured twice");
        isCaptured = refusal.empty();
        ++captures;
        return refusal;
    }
    void Release(Point at) override {
        Expect(isCaptured, "released what is not captured");
        Show(at);
        isCaptured = false;
    }
    void MovePointer(Point to) override { Show(to); }
    void PressKey(KeyCode code, bool isDown) override {
        Expect(isDown ? pressedKeys.insert(code).second : pressedKeys.erase(code) == 1, "a key twice");
    }
    void PressButton(Button button, bool isDown) override {
        Expect(isDown ? pressedButtons.insert(button).second : pressedButtons.erase(button) == 1, "a button twice");
    }
    void ScrollBy(const Scroll& scroll) override { scrolled.dx += scroll.dx, scrolled.dy += scroll.dy; }
    void SetLocks(const Locks& lit) override { locks = lit; }
    void ReleaseAll() override {
        pressedKeys.clear();
        pressedButtons.clear();
    }
    void Flush() override { ++flushes; }

    // As when the process that captured and injected has ended.
    void Forget() {
        ReleaseAll();
        isCaptured = false;
    }
    bool HasPressed() const { return !pressedKeys.empty() || !pressedButtons.empty(); }
    Point At() const { return PixelOf(position); }

    std::vector<Screen> screens;
    Position position;
    std::set<KeyCode> keys;  // held by persons
    std::set<Button> buttons;
    std::set<KeyCode> pressedKeys;  // injected
    std::set<Button> pressedButtons;
    Locks locks;
    Scroll scrolled;
    bool isCaptured = false;
    std::string refusal;  // of Capture
    int captures = 0;
    int flushes = 0;
    std::string fault;  // the first thing that no machine may do

private:
    void Show(Point at) {
        Expect(screens.empty() || Desk(screens).Contains(at), "a pointer outside the screens");
        position = CentreOf(at);
    }
    void Expect(bool holds, const char* otherwise) {
        if (!holds && fault.empty()) {
            fault = otherwise;
        }
    }
};

}  // namespace ZYNE::Companion
