// A connection to an X server that reports what every input device does, and where the displays are.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <xcb/xcb.h>
#include <xcb/xinput.h>

#include "linux/desktop/display_table.h"
#include "linux/desktop/event_assembler.h"
#include "linux/desktop/x_link.h"

namespace ZYNE::Linux {

// One thread at a time.
//
// Nothing is grabbed; raw events come whoever has the focus or a grab.
class XConnection {
public:
    // What happened up to one moment, and where the pointer was at that moment.
    struct Burst {
        std::vector<RawInput> inputs;
        DesktopPoint pointer;
        std::set<int32_t> pressedButtons;  // as the server says, which may lag behind
        bool displaysChanged = false;
    };

    // `display` as in InputOptions. Throws std::runtime_error with one line when there is no such server, or it cannot
    // do what is needed.
    static std::unique_ptr<XConnection> Open(const std::string& display);
    XConnection(const XConnection&) = delete;
    XConnection& operator=(const XConnection&) = delete;
    ~XConnection() = default;

    // How things were when the connection was made.
    const Burst& Opening() const { return opening_; }

    // The descriptor to wait for when HasEvent is false.
    int Fd() const;
    bool IsAlive() const;

    // Whether something has happened since the last burst.
    bool HasEvent();
    // False when the connection is lost.
    bool ReadBurst(Burst& burst);

    // Empty when the server has switched all of them off, or is lost.
    std::vector<DisplayArea> GetDisplays();

private:
    explicit XConnection(XLink link);

    void UseInput();
    void UseDisplays();
    void LearnDevices();
    void Take(const xcb_generic_event_t& event, Burst& burst);
    void TakeInput(const xcb_ge_generic_event_t& event, Burst& burst);
    void TakeMotion(const xcb_input_raw_button_press_event_t& event, Burst& burst);
    // A key or button.
    void TakeSwitch(
        const xcb_input_raw_button_press_event_t& event, RawInput::Kind kind, uint32_t firstCode, Burst& burst);

    const std::unique_ptr<xcb_connection_t, FreeOfX> connection_;
    const xcb_window_t root_;
    DisplayArea rootArea_;
    uint8_t inputOpcode_ = 0;
    uint8_t firstDisplayEvent_ = 0;  // 0 when the server cannot tell of displays
    std::map<uint16_t, RawInput::Motion> devices_;
    XEvent next_;  // read already; part of the next burst
    Burst opening_;
};

}  // namespace ZYNE::Linux
