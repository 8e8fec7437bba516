// How soon ten programs know that the pointer has arrived at an edge of the display, from the moment at which the X
// server is asked to move it; beside a bare loop that only takes the server's raw event, in the same run.
//
//     edge_bench [ARRIVALS]      500 unless given
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <xcb/xcb.h>
#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bench/bench_main.h"
#include "bench/latencies.h"
#include "client/crossing_watch.h"
#include "tests/scenario/test_device.h"
#include "tests/scenario/x_server.h"

namespace ZYNE::Bench {
namespace {

using Clock = std::chrono::steady_clock;
using Testing::Process;

constexpr int CLIENTS = 10;
constexpr auto PAUSE = std::chrono::milliseconds(15);  // so that each arrival is on its own
constexpr int MAX_MS = 5000;

int64_t Now() {
    return Clock::now().time_since_epoch().count();
}

// Where clients tell when they heard of an arrival.
class Ear {
public:
    explicit Ear(const std::string& path) : socket_(socket(AF_UNIX, SOCK_DGRAM, 0)), address_(AddressOf(path)) {}
    Ear(const Ear&) = delete;
    Ear& operator=(const Ear&) = delete;
    ~Ear() { close(socket_); }

    void Listen() { Must(bind(socket_, reinterpret_cast<const sockaddr*>(&address_), sizeof(address_))); }
    void Tell(int64_t heard) {
        Must(sendto(socket_, &heard, sizeof(heard), 0, reinterpret_cast<const sockaddr*>(&address_), sizeof(address_)));
    }
    int64_t Hear() {
        pollfd file{socket_, POLLIN, 0};
        int64_t heard = 0;
        if (poll(&file, 1, MAX_MS) != 1 || recv(socket_, &heard, sizeof(heard), 0) != sizeof(heard)) {
            throw std::runtime_error("a client hears nothing");
        }
        return heard;
    }

private:
    static sockaddr_un AddressOf(const std::string& path) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof(address.sun_path) - 1);
        return address;
    }
    static void Must(ssize_t result) {
        if (result < 0) {
            throw std::runtime_error("the socket fails");
        }
    }

    const int socket_;
    const sockaddr_un address_;
};

// One of the ten.
void BeClient(const std::string& device, const std::string& path) {
    Ear ear(path);
    Client::Device asked(*Client::FindDevice(device));
    Client::CrossingWatch watch(asked, {"edge"}, [&](const auto&) { ear.Tell(Now()); });
    ear.Tell(0);  // ready
    watch.Follow(-1);
}

// The mouse, and a bare loop that takes the server's raw events.
class Mouse {
public:
    explicit Mouse(const std::string& display) : connection_(xcb_connect(display.c_str(), nullptr)) {
        if (xcb_connection_has_error(connection_.get()) != 0) {
            throw std::runtime_error("no X server");
        }
        const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data->root;
        struct {
            xcb_input_event_mask_t head;
            uint32_t mask;
        } select{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, XCB_INPUT_XI_EVENT_MASK_RAW_MOTION};
        free(xcb_input_xi_query_version_reply(
            connection_.get(), xcb_input_xi_query_version(connection_.get(), 2, 2), nullptr));
        xcb_input_xi_select_events(connection_.get(), root, 1, &select.head);
        xcb_flush(connection_.get());
    }

    // By `dx`; when the server was asked.
    int64_t Move(int16_t dx) {
        const int64_t asked = Now();
        xcb_test_fake_input(connection_.get(), XCB_MOTION_NOTIFY, 1, XCB_CURRENT_TIME, XCB_NONE, dx, 0, 0);
        xcb_flush(connection_.get());
        return asked;
    }
    // Until the raw event of the last motion is here; when it was.
    int64_t AwaitEvent() {
        const std::unique_ptr<xcb_generic_event_t, decltype(&free)> event(xcb_wait_for_event(connection_.get()), &free);
        if (!event) {
            throw std::runtime_error("the X server is gone");
        }
        return Now();
    }

private:
    struct Disconnect {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };
    const std::unique_ptr<xcb_connection_t, Disconnect> connection_;
};

struct Figures {
    Latencies raw;
    Latencies first;  // of the ten to know
    Latencies last;
};

void Measure(Mouse& mouse, Ear& ear, int arrivals, Figures& figures) {
    for (int i = 0; i < arrivals; ++i) {
        mouse.Move(400);
        mouse.AwaitEvent();
        std::this_thread::sleep_for(PAUSE);
        const int64_t asked = mouse.Move(-800);
        figures.raw.Add(std::chrono::nanoseconds(mouse.AwaitEvent() - asked));
        std::vector<int64_t> heard;
        for (int client = 0; client < CLIENTS; ++client) {
            heard.push_back(ear.Hear());
        }
        const auto [first, last] = std::minmax_element(heard.begin(), heard.end());
        figures.first.Add(std::chrono::nanoseconds(*first - asked));
        figures.last.Add(std::chrono::nanoseconds(*last - asked));
    }
}

void Print(const char* what, Latencies& latencies) {
    std::printf("%-52s %8.0f %8.0f\n", what, latencies.Percentile(50), latencies.Percentile(99));
}

void Run(const std::string& self, int arrivals) {
    const TemporaryDirectory directory;
    setenv("XDG_RUNTIME_DIR", directory.Path().c_str(), 1);
    const Testing::XServer server(directory.Path(), "800x600");
    Testing::TestDevice device(directory.Path() / "desk", "desk",
        {.open = true, .config = "[input]\ndisplay = \"" + server.Display() + "\"\n"});
    device.Start();
    const std::string path = directory.Path() / "ear";
    Ear ear(path);
    ear.Listen();
    std::vector<std::unique_ptr<Process>> clients;
    for (int i = 0; i < CLIENTS; ++i) {
        clients.push_back(std::make_unique<Process>(std::vector<std::string>{self, "--client", "desk", path},
            directory.Path() / ("client" + std::to_string(i))));
        ear.Hear();
    }
    Mouse mouse(server.Display());
    Figures warmUp;
    Measure(mouse, ear, 20, warmUp);
    Figures figures;
    Measure(mouse, ear, arrivals, figures);
    std::printf(
        "%d arrivals at an edge, %d clients\n\n%-52s %8s %8s\n", arrivals, CLIENTS, "microseconds", "p50", "p99");
    Print("the bare loop has the server's raw event", figures.raw);
    Print("the first client knows", figures.first);
    Print("the last client knows", figures.last);
    std::printf("\nratio of the last client to the bare loop at p50: %.1f\n",
        figures.last.Percentile(50) / figures.raw.Percentile(50));
    clients.clear();
    device.Stop();
}

}  // namespace
}  // namespace ZYNE::Bench

int main(int count, char** arguments) {
    return ZYNE::Bench::BenchMain("edge_bench", [&] {
        if (count == 4 && std::string(arguments[1]) == "--client") {
            ZYNE::Bench::BeClient(arguments[2], arguments[3]);
        } else {
            ZYNE::Bench::Run(
                std::filesystem::read_symlink("/proc/self/exe"), count > 1 ? std::atoi(arguments[1]) : 500);
        }
    });
}
