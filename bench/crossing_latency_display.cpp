#include "bench/crossing_latency_display.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <array>
#include <cstdlib>
#include <stdexcept>
#include <utility>

#include <xcb/xtest.h>

namespace ZYNE::Bench {

using Linux::XReply;

Person::Person(const std::string& display) : link_(Linux::OpenX(display)) {}

Clock::time_point Person::Move(int16_t dx, int16_t dy) {
    return Fake(XCB_MOTION_NOTIFY, 1, dx, dy);
}

Clock::time_point Person::Press(uint8_t code, bool isDown) {
    return Fake(isDown ? XCB_KEY_PRESS : XCB_KEY_RELEASE, code, 0, 0);
}

Clock::time_point Person::Fake(uint8_t type, uint8_t detail, int16_t x, int16_t y) {
    const auto now = Clock::now();
    xcb_test_fake_input(link_.connection.get(), type, detail, XCB_CURRENT_TIME, XCB_NONE, x, y, 0);
    xcb_flush(link_.connection.get());
    return now;
}

int32_t Person::PointerX() {
    xcb_connection_t* const connection = link_.connection.get();
    const XReply<xcb_query_pointer_reply_t> reply(
        xcb_query_pointer_reply(connection, xcb_query_pointer(connection, link_.screen->root), nullptr));
    if (!reply) {
        throw std::runtime_error("the X server is gone");
    }
    return reply->root_x;
}

Watcher::Watcher(const std::string& display, bool withPresence)
    : link_(Linux::OpenX(display)), stop_(eventfd(0, EFD_CLOEXEC)) {
    xcb_connection_t* const connection = link_.connection.get();
    opcode_ = Linux::UseXInput(connection);
    struct {
        xcb_input_event_mask_t head{XCB_INPUT_DEVICE_ALL_MASTER, 1};
        uint32_t mask = XCB_INPUT_XI_EVENT_MASK_RAW_MOTION | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS |
            XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE;
    } events;
    if (withPresence) {
        events.mask |= XCB_INPUT_XI_EVENT_MASK_MOTION;
    }
    const XReply<xcb_generic_error_t> error(xcb_request_check(
        connection, xcb_input_xi_select_events_checked(connection, link_.screen->root, 1, &events.head)));
    if (error || !stop_) {
        throw std::runtime_error("the display cannot be watched");
    }
    thread_ = std::thread([this] { Work(); });
}

Watcher::~Watcher() {
    eventfd_write(stop_.Get(), 1);
    thread_.join();
}

std::vector<Seen> Watcher::Take() {
    const std::scoped_lock lock(mutex_);
    return std::exchange(seen_, {});
}

bool Watcher::WaitUntil(const std::function<bool(const std::vector<Seen>&)>& enough, std::chrono::milliseconds limit) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, limit, [&] { return enough(seen_); });
}

void Watcher::Work() {
    std::array<pollfd, 2> files{
        {{xcb_get_file_descriptor(link_.connection.get()), POLLIN, 0}, {stop_.Get(), POLLIN, 0}}};
    while (files[1].revents == 0 && xcb_connection_has_error(link_.connection.get()) == 0) {
        while (const Linux::XEvent event{xcb_poll_for_event(link_.connection.get())}) {
            Keep(*event);
        }
        poll(files.data(), files.size(), -1);
    }
}

void Watcher::Keep(const xcb_generic_event_t& event) {
    Seen seen{Seen::Kind::KEY, Clock::now()};
    const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
    if ((event.response_type & 0x7f) != XCB_GE_GENERIC || generic.extension != opcode_) {
        return;
    }
    if (generic.event_type == XCB_INPUT_RAW_MOTION) {
        seen.kind = Seen::Kind::MOTION;
        const auto axes =
            Linux::RawAxes(reinterpret_cast<const xcb_input_raw_motion_event_t&>(event), Linux::XValues::ACCELERATED);
        if (!axes) {
            return;
        }
        seen.x = axes->x.value_or(0);
    } else if (generic.event_type == XCB_INPUT_MOTION) {
        seen.kind = Seen::Kind::PRESENCE;
    } else {
        seen.code = reinterpret_cast<const xcb_input_raw_key_press_event_t&>(event).detail;
        seen.isDown = generic.event_type == XCB_INPUT_RAW_KEY_PRESS;
    }
    const std::scoped_lock lock(mutex_);
    seen_.push_back(seen);
    changed_.notify_one();
}

}  // namespace ZYNE::Bench
