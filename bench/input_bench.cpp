// What a mouse costs that reports 8000 motions a second: the port with one pointer monitor, beside a bare loop that
// only takes the server's raw events, in the same run. Another process moves the mouse.
//
//     input_bench [SECONDS]      of each; 5 unless given
#include <poll.h>
#include <xcb/xcb.h>
#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "bench/bench_main.h"
#include "linux/desktop/input_service.h"
#include "tests/scenario/process.h"
#include "tests/scenario/x_server.h"

namespace ZYNE::Bench {
namespace {

using Clock = std::chrono::steady_clock;
using Linux::InputService;
using Seconds = std::chrono::duration<double>;

constexpr int RATE = 8000;

struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};
using Connection = std::unique_ptr<xcb_connection_t, Disconnect>;

// Moves by one pixel downwards each time, so that the sum of the distances is the number of the motions.
void MoveMouse(const std::string& display) {
    const Connection connection(xcb_connect(display.c_str(), nullptr));
    auto next = Clock::now();
    while (xcb_connection_has_error(connection.get()) == 0) {
        xcb_test_fake_input(connection.get(), XCB_MOTION_NOTIFY, 1, XCB_CURRENT_TIME, XCB_NONE, 0, 1, 0);
        xcb_flush(connection.get());
        next += std::chrono::microseconds(1000000 / RATE);
        std::this_thread::sleep_until(next);
    }
}

// What this process has used of the processor.
Seconds Used() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

struct Figures {
    int64_t motions = 0;
    int64_t calls = 0;
    double share = 0;  // of one core
};

// Takes every event on its own and drops it.
Figures MeasureFloor(const std::string& display, Seconds duration) {
    const Connection connection(xcb_connect(display.c_str(), nullptr));
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data->root;
    free(xcb_input_xi_query_version_reply(
        connection.get(), xcb_input_xi_query_version(connection.get(), 2, 2), nullptr));
    struct {
        xcb_input_event_mask_t head{XCB_INPUT_DEVICE_ALL_MASTER, 1};
        uint32_t mask = XCB_INPUT_XI_EVENT_MASK_RAW_MOTION;
    } events;
    xcb_input_xi_select_events(connection.get(), root, 1, &events.head);
    xcb_flush(connection.get());
    Figures figures;
    const Seconds before = Used();
    const auto start = Clock::now();
    while (Clock::now() - start < duration) {
        pollfd file{xcb_get_file_descriptor(connection.get()), POLLIN, 0};
        poll(&file, 1, 100);
        while (xcb_generic_event_t* event = xcb_poll_for_event(connection.get())) {
            free(event);
            ++figures.motions;
            ++figures.calls;
        }
    }
    figures.share = (Used() - before) / Seconds(Clock::now() - start);
    return figures;
}

Figures MeasurePort(const std::string& display, Seconds duration) {
    struct Counts {
        std::atomic<int64_t> motions{0};
        std::atomic<int64_t> calls{0};
    };
    const auto counts = std::make_shared<Counts>();  // a call may be under way at the end
    Linux::ThreadPool pool;
    InputService input(pool);
    input.Start({display, false});
    const auto start = Clock::now();
    const Seconds before = Used();
    const int32_t id = input.AddMonitor([counts](std::shared_ptr<PointerEvent> event) {
        PointerItem item;
        event->GetPointerItem(event->GetPointerId(), item);
        counts->motions += item.GetRawDy();
        ++counts->calls;
    });
    if (id < 0) {
        throw std::runtime_error("no monitor can be added");
    }
    std::this_thread::sleep_for(duration);
    Figures figures;
    figures.share = (Used() - before) / Seconds(Clock::now() - start);
    figures.motions = counts->motions;
    figures.calls = counts->calls;
    input.Stop();
    return figures;
}

void Report(const char* what, const Figures& figures, Seconds duration) {
    std::printf("%-28s%12.0f%12.0f%16.2f\n", what, static_cast<double>(figures.motions) / duration.count(),
        static_cast<double>(figures.calls) / duration.count(), 100 * figures.share);
}

void Run(const std::string& self, const std::filesystem::path& directory, Seconds duration) {
    const Testing::XServer server(directory, "800x600");
    Testing::Process mouse({self, "--mouse", server.Display()}, directory / "mouse.txt");
    const Figures floor = MeasureFloor(server.Display(), duration);
    const Figures port = MeasurePort(server.Display(), duration);
    mouse.Signal(SIGKILL);
    std::printf("%-28s%12s%12s%16s\n", "", "motions/s", "calls/s", "% of a core");
    Report("bare loop of raw events", floor, duration);
    Report("port with a monitor", port, duration);
    std::printf("the port takes %.2f of the bare loop's time for a mouse of %d motions a second\n",
        port.share / floor.share, RATE);
}

}  // namespace
}  // namespace ZYNE::Bench

int main(int count, char** arguments) {
    using namespace ZYNE::Bench;
    return BenchMain("input_bench", [&] {
        if (count == 3 && std::string(arguments[1]) == "--mouse") {
            MoveMouse(arguments[2]);
            return;
        }
        const TemporaryDirectory directory;
        Run(std::filesystem::read_symlink("/proc/self/exe"), directory.Path(),
            Seconds(count > 1 ? std::atoi(arguments[1]) : 5));
    });
}
