// Reads what other programs have copied.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <list>
#include <optional>
#include <string>

#include <xcb/xcb.h>

#include "companion/x11/clipboard_atoms.h"
#include "linux/base/event_loop.h"

namespace ZYNE::Companion {

// The loop's thread. One request is under way at a time, the others wait.
//
// Contents come in slices, which TakeSlice takes, so that whatever else the loop serves goes on.
class SelectionReader {
public:
    // The bytes, or nothing when they cannot be had, are too many or took longer than ten seconds.
    using Done = std::function<void(std::optional<std::string> bytes)>;

    SelectionReader(
        Linux::EventLoop& loop, xcb_connection_t* connection, xcb_window_t window, const ClipboardAtoms& atoms);

    // `time` is that of the copying.
    void Read(xcb_atom_t target, xcb_timestamp_t time, Done done);
    // Nothing that waits or is under way can be had any more.
    void Cancel();

    bool HasSlice() const { return hasSlice_; }
    void TakeSlice();

    void OnNotify(const xcb_selection_notify_event_t& event);
    void OnProperty(const xcb_property_notify_event_t& event);

private:
    struct Request {
        xcb_atom_t target;
        xcb_timestamp_t time;
        Done done;
        Linux::EventLoop::Source limit;
    };
    using Requests = std::list<Request>;

    void StartNext();
    void Finish(Requests::iterator request, std::optional<std::string> bytes);

    Linux::EventLoop& loop_;
    xcb_connection_t* const connection_;
    const xcb_window_t window_;
    const ClipboardAtoms& atoms_;
    Requests requests_;  // the first is under way
    // A late answer to a request that was given up must not be taken for the next one's: they use different properties.
    std::array<xcb_atom_t, 4> properties_{};
    size_t round_ = 0;  // which of them
    bool hasSlice_ = false;
    bool isIncremental_ = false;
    std::string bytes_;    // so far
    uint32_t offset_ = 0;  // in the property, in units of four bytes
};

}  // namespace ZYNE::Companion
