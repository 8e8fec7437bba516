// Motions and keys over a network that loses frames: two devices in network namespaces of their own, with a delay and a
// loss both ways. Needs to be root.
//
//     crossing_latency_lossy [KEYS [DELAY_MS [LOSS_PERCENT]]]      100,000, 20 and 2 unless given
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/bench_main.h"
#include "bench/crossing_latency_programs.h"
#include "bench/crossing_latency_visit.h"
#include "linux/desktop/x_link.h"
#include "tests/network/network_namespace.h"
#include "tests/network/test_switch.h"
#include "tests/scenario/x_server.h"

namespace ZYNE::Bench {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Testing::NetworkNamespace;
using Testing::TestSwitch;
using Testing::XServer;

// Two machines on a switch.
class Network {
public:
    Network() : switch_(switchNetwork_) {
        Plug(1, left_);
        Plug(2, right_);
    }

    static OwnDevices::Place PlaceOf(const NetworkNamespace& network, const XServer& server) {
        return {server.Display(), network.Launcher(), "interface = \"eth0\"\n"};
    }
    const NetworkNamespace& Left() const { return left_; }
    const NetworkNamespace& Right() const { return right_; }
    void Worsen(const Testing::Way& way) {
        switch_.SetWay(1, 2, way);
        switch_.SetWay(2, 1, way);
    }
    size_t CountLost() { return switch_.CountTroubles().lost; }

private:
    void Plug(size_t number, const NetworkNamespace& machine) {
        const std::string port = "port" + std::to_string(number);
        switchNetwork_.Run("ip link add " + port + " type veth peer name eth0 netns " + machine.Path() +
            "; ip link set " + port + " up");
        switchNetwork_.SwitchOffloadsOff(port);
        machine.SwitchOffloadsOff("eth0");
        switch_.Plug(number, port);
        machine.Run(
            "ip link set eth0 up; ip address add 10.77.0." + std::to_string(number) + "/24 broadcast + dev eth0");
    }

    const NetworkNamespace switchNetwork_;
    const NetworkNamespace left_;
    const NetworkNamespace right_;
    TestSwitch switch_;  // last: it uses the first
};

void Print(const char* what, Figures& figures) {
    std::printf("%-20s", what);
    for (const double percent : {50.0, 90.0, 99.0, 100.0}) {
        std::printf("%8.1f", figures.latencies.Percentile(percent) / 1000);
    }
    std::printf("%8zu%8d%8d\n", figures.latencies.Size(), figures.merged, figures.lost);
    std::fflush(stdout);
}

// Whether `seen` is what was pressed, one by one.
bool IsInOrder(const std::vector<Seen>& seen, int count) {
    if (seen.size() != static_cast<size_t>(count)) {
        return false;
    }
    for (int i = 0; i < count; ++i) {
        const KeyPress key = KeyOf(i);
        const Seen& event = seen[static_cast<size_t>(i)];
        if (event.code != key.code || event.isDown != key.isDown) {
            return false;
        }
    }
    return true;
}

int CountDown(const std::string& display) {
    const Linux::XLink link = Linux::OpenX(display);
    const Linux::XReply<xcb_query_keymap_reply_t> keys(
        xcb_query_keymap_reply(link.connection.get(), xcb_query_keymap(link.connection.get()), nullptr));
    int down = 0;
    for (const uint8_t byte : keys->keys) {
        down += __builtin_popcount(byte);
    }
    return down;
}

void Run(const fs::path& directory, int count, const Testing::Way& way) {
    setenv("XDG_RUNTIME_DIR", directory.c_str(), 1);
    fs::create_directory(directory / "x1");
    fs::create_directory(directory / "x2");
    Network network;
    const XServer left(directory / "x1", std::to_string(LEFT_WIDTH) + "x800");
    const XServer right(directory / "x2", "4000x800");
    const OwnDevices devices(
        directory, Network::PlaceOf(network.Left(), left), Network::PlaceOf(network.Right(), right));
    Visit visit(left.Display(), right.Display());
    visit.GoAway();
    network.Worsen(way);
    std::printf("%d ms of delay and %.1f %% of loss each way; milliseconds\n%-20s%8s%8s%8s%8s%8s%8s%8s\n",
        static_cast<int>(way.delay.count()), way.loss, "", "p50", "p90", "p99", "most", "seen", "merged", "lost");
    Figures slow;
    visit.MeasureMotions(8ms, slow);
    Print("motion, 125 Hz", slow);
    Figures quick;
    visit.MeasureMotions(1ms, quick);
    Print("motion, 1 kHz", quick);
    Figures keys;
    const std::vector<Seen> seen = visit.MeasureKeys(1ms, count, keys);
    Print("key, 1 kHz", keys);
    std::printf("keys %s; %d stay down; the network has lost %zu frames\n",
        IsInOrder(seen, count) ? "as pressed, one by one" : "are NOT as pressed", CountDown(right.Display()),
        network.CountLost());
    network.Worsen({});
}

}  // namespace
}  // namespace ZYNE::Bench

int main(int count, char** arguments) {
    using namespace ZYNE::Bench;
    return BenchMain("crossing_latency_lossy", [&] {
        if (const std::string problem = NetworkNamespace::Problem(); !problem.empty()) {
            throw std::runtime_error("no network namespaces can be made: " + problem);
        }
        const TemporaryDirectory directory;
        const int delay = count > 2 ? std::atoi(arguments[2]) : 20;
        Run(directory.Path(), count > 1 ? std::atoi(arguments[1]) : 100'000,
            {.delay = std::chrono::milliseconds(delay), .loss = count > 3 ? std::atof(arguments[3]) : 2});
    });
}
