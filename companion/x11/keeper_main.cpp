// companion_keeper DISPLAY WINDOW: waits for the end of the companion that started it, and then lets go of the keys and
// buttons that are still down in the companion's name. The server itself does not: what the test extension has pressed
// stays down when the client that asked for it is gone.
#include <poll.h>
#include <sys/mman.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <exception>

#include <xcb/xtest.h>

#include "companion/x11/keeper_board.h"
#include "linux/desktop/x_link.h"

namespace ZYNE::Companion {
namespace {

using Clock = std::chrono::steady_clock;

// A companion may die in a core dump while the server is busy.
constexpr std::chrono::seconds LONGEST_DEATH{10};
constexpr std::chrono::milliseconds LOOK_AGAIN{5};

void DropEvents(xcb_connection_t* connection) {
    while (Linux::XEvent(xcb_poll_for_event(connection))) {
    }
}

// False when the server is gone.
bool WaitForCompanion(xcb_connection_t* connection) {
    std::array<pollfd, 2> waits{{{KEEPER_LINE_FD, POLLIN, 0}, {xcb_get_file_descriptor(connection), POLLIN, 0}}};
    while (xcb_connection_has_error(connection) == 0) {
        DropEvents(connection);
        if (poll(waits.data(), waits.size(), -1) > 0 && waits[0].revents != 0) {
            return true;
        }
    }
    return false;
}

bool IsThere(xcb_connection_t* connection, xcb_window_t window) {
    return Linux::XReply<xcb_get_geometry_reply_t>(
               xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window), nullptr)) != nullptr;
}

// The companion's last requests may still be under way in the server, which takes away the companion's windows after
// them.
void WaitForWindow(xcb_connection_t* connection, xcb_window_t window) {
    const auto end = Clock::now() + LONGEST_DEATH;
    while (Clock::now() < end && IsThere(connection, window)) {
        poll(nullptr, 0, static_cast<int>(LOOK_AGAIN.count()));
    }
}

void LetGo(xcb_connection_t* connection, const KeeperBoard& board) {
    const auto release = [&](uint8_t type, uint32_t code) {
        xcb_test_fake_input(connection, type, static_cast<uint8_t>(code), XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    };
    for (uint32_t button = 0; button < KeeperBoard::BUTTONS; ++button) {
        if ((board.buttons >> button & 1U) != 0) {
            release(XCB_BUTTON_RELEASE, button);
        }
    }
    for (uint32_t code = 0; code < KeeperBoard::KEYS; ++code) {
        if ((board.keys[code / 32] >> code % 32 & 1U) != 0) {
            release(XCB_KEY_RELEASE, code);
        }
    }
    Linux::XReply<xcb_get_input_focus_reply_t>(
        xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
}

int Run(const char* display, xcb_window_t window) {
    // Whoever ends the companion this way ends the keeper, too, by that.
    for (const int number : {SIGHUP, SIGINT, SIGTERM, SIGPIPE}) {
        std::signal(number, SIG_IGN);
    }
    const void* memory = mmap(nullptr, sizeof(KeeperBoard), PROT_READ, MAP_SHARED, KEEPER_BOARD_FD, 0);
    if (memory == MAP_FAILED) {
        return EXIT_FAILURE;
    }
    const auto& board = *static_cast<const KeeperBoard*>(memory);
    const Linux::XLink link = Linux::OpenX(display);
    if (WaitForCompanion(link.connection.get()) && !IsEmpty(board)) {
        WaitForWindow(link.connection.get(), window);
        LetGo(link.connection.get(), board);
    }
    return EXIT_SUCCESS;
}

}  // namespace
}  // namespace ZYNE::Companion

int main(int argc, char** argv) {
    try {
        if (argc == 3) {
            return ZYNE::Companion::Run(argv[1], static_cast<xcb_window_t>(std::strtoul(argv[2], nullptr, 10)));
        }
    } catch (const std::exception&) {
    }
    return EXIT_FAILURE;
}
