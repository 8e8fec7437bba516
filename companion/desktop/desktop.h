// What a display system does for crossing: capture of what a person does here, and injection of what a person at
// another device does.
//
// One implementation for each display system. All of it is used on one thread, the companion's loop, on which the
// listener is called too, with no operation of the desktop under way. No operation throws; when the display system is
// gone, all do nothing.
#pragma once

#include <string>
#include <vector>

#include "companion/core/input.h"

namespace ZYNE::Companion {

class Desktop {
public:
    class Listener {
    public:
        // What a person does at this device, captured or not; what this companion injects is not told. All that
        // happened comes in order; motions in a row may come as one.
        virtual void OnMotion(const Motion& motion) = 0;
        virtual void OnKey(const KeyChange& key) = 0;
        virtual void OnButton(const ButtonChange& button) = 0;
        virtual void OnScroll(const Scroll& scroll) = 0;

        // The screens are others than before; none while all are off.
        virtual void OnScreens(const std::vector<Screen>& screens) = 0;

        // The display system is gone, and with it all that was captured or pressed. The last call.
        virtual void OnLost(const std::string& reason) = 0;

    protected:
        ~Listener() = default;
    };

    virtual std::vector<Screen> GetScreens() = 0;
    // As the display system has it, whoever pressed it.
    virtual InputState GetState() = 0;

    // Takes pointer and keyboard from all programs of this device, and hides the pointer, until Release. What a person
    // does is told on. Empty, or why not in a few words: a program holds one of them, or a window fills the screen.
    // With `withButtons` a program may go on holding the pointer for a button that is down, and it hears of the pointer
    // until the button is up; the rest is captured all the same.
    virtual std::string Capture(bool withButtons) = 0;
    // Gives them back, with the pointer shown at `at`. Does nothing when nothing is captured.
    virtual void Release(Point at) = 0;

    // Injection. What is pressed stays down until it is let go here or by ReleaseAll, or this process ends, however it
    // ends.
    virtual void MovePointer(Point to) = 0;
    virtual void PressKey(KeyCode code, bool isDown) = 0;
    virtual void PressButton(Button button, bool isDown) = 0;
    virtual void ScrollBy(const Scroll& scroll) = 0;
    virtual void SetLocks(const Locks& locks) = 0;
    // Lets go of what was injected and is still down.
    virtual void ReleaseAll() = 0;
    // Sends to the display system what is not sent yet: once after a group of operations.
    virtual void Flush() = 0;

protected:
    ~Desktop() = default;
};

}  // namespace ZYNE::Companion
