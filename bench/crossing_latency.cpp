// How long a motion and a key take from one display to another, on the same two displays: with two devices of ours in
// account mode, and with Debian's barrier, plain and with TLS; and what each costs the processor at a quick mouse.
//
//     crossing_latency [ROUNDS]      3 unless given; about four minutes each
//
// The time is from the request to the X server of the one display to the raw event of the other, by one clock. The floor
// is the raw event on the motion's own display, and half of a round trip over the TLS link of devices. Each program has
// the displays for itself, all take turns.
//
// How a motion that a program has merged with another is matched, crossing_latency_visit.h says.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>

#include "bench/bench_main.h"
#include "bench/crossing_latency_programs.h"
#include "bench/crossing_latency_visit.h"
#include "bench/link_floor.h"
#include "bench/usage.h"
#include "linux/account/account.h"
#include "tests/scenario/x_server.h"

namespace ZYNE::Bench {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using std::chrono::microseconds;
using Testing::XServer;

constexpr int EVENTS = MOTIONS;
constexpr int EDGES = 20;
constexpr auto QUICK = 1ms;
constexpr auto SLOW = 8ms;
constexpr auto MOUSE_TIME = 10s;
constexpr auto LIMIT = 2s;

struct Cost {
    double program = 0;  // of one core, in percent
    double servers = 0;  // both X servers
    int runs = 0;
};

// Of one program, by what was measured.
struct Results {
    std::map<std::string, Figures> figures;
    Cost cost;
};

struct Displays {
    const XServer& left;
    const XServer& right;
};

double CpuMs(const std::vector<pid_t>& pids) {
    double sum = 0;
    for (const pid_t pid : pids) {
        sum += UsageOf(pid).cpuMs;
    }
    return sum;
}

void MeasureCost(Visit& visit, const CrossingProgram& program, const std::vector<pid_t>& servers, Cost& cost) {
    constexpr double TIME_MS = std::chrono::duration<double, std::milli>(MOUSE_TIME).count();
    const std::vector<pid_t> pids = program.Processes();
    const double before = CpuMs(pids);
    const double serversBefore = CpuMs(servers);
    visit.MoveQuickly(MOUSE_TIME);
    cost.program += 100 * (CpuMs(pids) - before) / TIME_MS;
    cost.servers += 100 * (CpuMs(servers) - serversBefore) / TIME_MS;
    ++cost.runs;
}

void Measure(
    const Displays& displays, const std::vector<pid_t>& servers, const CrossingProgram& program, Results& results) {
    Visit visit(displays.left.Display(), displays.right.Display());
    visit.GoAway();
    visit.MeasureMotions(SLOW, results.figures["motion, 125 Hz"]);
    visit.MeasureMotions(QUICK, results.figures["motion, 1 kHz"]);
    visit.MeasureKeys(SLOW, EVENTS, results.figures["key, 125 Hz"]);
    visit.MeasureKeys(QUICK, EVENTS, results.figures["key, 1 kHz"]);
    MeasureCost(visit, program, servers, results.cost);
    visit.GoHome();
    for (int i = 0; i < EDGES; ++i) {
        visit.MeasureEdge(results.figures["edge to appearance"]);
    }
}

// A motion and a key on their own display, and the link, one after the other at the same pace.
void MeasureFloor(const XServer& server, LinkEnd& link, microseconds pace, Figures& motions, Figures& keys) {
    constexpr size_t BYTES = 32;
    std::vector<Clock::duration> ways;
    AtPace(pace, EVENTS, [&](int) {
        const auto start = Clock::now();
        link.RoundTrip(BYTES);
        ways.push_back((Clock::now() - start) / 2);
        return start;
    });
    Person person(server.Display());
    Watcher watcher(server.Display(), false);
    const auto measure = [&](Seen::Kind kind, Figures& figures, const auto& act) {
        const auto asked = AtPace(pace, EVENTS, act);
        watcher.WaitUntil([](const auto& seen) { return seen.size() >= EVENTS; }, LIMIT);
        const std::vector<Seen> seen = watcher.Take();
        for (size_t i = 0; i < std::min(seen.size(), asked.size()) && seen[i].kind == kind; ++i) {
            figures.latencies.Add(seen[i].at - asked[i] + ways.at(i));
        }
    };
    measure(Seen::Kind::MOTION, motions, [&](int number) { return person.Move(number % 2 == 0 ? 1 : -1); });
    measure(Seen::Kind::KEY, keys, [&](int number) {
        const KeyPress key = KeyOf(number);
        return person.Press(key.code, key.isDown);
    });
}

void MeasureFloors(const std::string& self, const fs::path& directory, const Displays& displays, Results& results) {
    Linux::CreateAccount(directory / "account", "bench");
    Linux::EnrollDevice(directory / "account", directory / "near", std::string(64, 'a'));
    Linux::EnrollDevice(directory / "account", directory / "far", std::string(64, 'b'));
    const LinkPort port;
    const Testing::Process echo(
        {self, "--echo", directory / "far", std::to_string(port.Number())}, directory / "echo.txt");
    LinkEnd link(directory / "near", port);
    auto& figures = results.figures;
    MeasureFloor(displays.left, link, SLOW, figures["motion, 125 Hz"], figures["key, 125 Hz"]);
    MeasureFloor(displays.left, link, QUICK, figures["motion, 1 kHz"], figures["key, 1 kHz"]);
}

std::string Load() {
    std::string line;
    std::getline(std::ifstream("/proc/loadavg"), line);
    return line;
}

using Table = std::map<std::string, Results>;
constexpr const char* FLOOR = "floor";
constexpr const char* OWN = "devices";
constexpr const char* PLAIN = "barrier, plain";
constexpr const char* SECURE = "barrier, TLS";

void MeasureRound(const std::string& self, const fs::path& directory, const Displays& displays,
    const std::vector<pid_t>& servers, Table& table) {
    const std::string left = displays.left.Display();
    const std::string right = displays.right.Display();
    for (const char* const name : {"floor", "own", "plain", "secure"}) {
        fs::create_directories(directory / name);
    }
    MeasureFloors(self, directory / "floor", displays, table[FLOOR]);
    Measure(displays, servers, OwnDevices(directory / "own", {left}, {right}), table[OWN]);
    Measure(displays, servers, Barrier(directory / "plain", left, right, Barrier::Crypto::OFF), table[PLAIN]);
    Measure(displays, servers, Barrier(directory / "secure", left, right, Barrier::Crypto::ON), table[SECURE]);
}

void PrintFigures(const std::string& what, Table& table) {
    std::printf(
        "\n%-20s%8s%8s%8s%8s%8s%8s%14s\n", what.c_str(), "p50", "p90", "p99", "seen", "merged", "lost", "p50, p99 / b");
    for (const char* const name : {FLOOR, OWN, PLAIN, SECURE}) {
        Figures& figures = table[name].figures[what];
        Latencies& plain = table[PLAIN].figures[what].latencies;
        if (figures.latencies.Size() == 0 || plain.Size() == 0) {
            continue;
        }
        std::printf("  %-18s", name);
        for (const double percent : {50.0, 90.0, 99.0}) {
            std::printf("%8.0f", figures.latencies.Percentile(percent));
        }
        std::printf("%8zu%8d%8d", figures.latencies.Size(), figures.merged, figures.lost);
        std::printf("%8.2f%6.2f\n", figures.latencies.Percentile(50) / plain.Percentile(50),
            figures.latencies.Percentile(99) / plain.Percentile(99));
    }
}

void PrintCosts(Table& table) {
    std::printf("\n%-20s%16s%16s\n", "mouse of 1 kHz", "% of a core", "X servers");
    for (const char* const name : {OWN, PLAIN, SECURE}) {
        const Cost& cost = table[name].cost;
        std::printf("  %-18s%16.1f%16.1f\n", name, cost.program / cost.runs, cost.servers / cost.runs);
    }
}

void Run(const std::string& self, const fs::path& directory, int rounds) {
    setenv("XDG_RUNTIME_DIR", directory.c_str(), 1);
    fs::create_directory(directory / "x1");
    fs::create_directory(directory / "x2");
    XServer left(directory / "x1", std::to_string(LEFT_WIDTH) + "x800");
    XServer right(directory / "x2", "4000x800");
    const std::vector<pid_t> servers{left.Server().Pid(), right.Server().Pid()};
    Table table;
    for (int round = 0; round < rounds; ++round) {
        std::printf("round %d, load %s\n", round + 1, Load().c_str());
        std::fflush(stdout);
        MeasureRound(self, directory / std::to_string(round), {left, right}, servers, table);
    }
    std::printf("load at the end %s; microseconds; ratios to plain barrier\n", Load().c_str());
    for (const char* const what :
        {"motion, 125 Hz", "motion, 1 kHz", "key, 125 Hz", "key, 1 kHz", "edge to appearance"}) {
        PrintFigures(what, table);
    }
    PrintCosts(table);
}

}  // namespace
}  // namespace ZYNE::Bench

int main(int count, char** arguments) {
    using namespace ZYNE::Bench;
    return BenchMain("crossing_latency", [&] {
        if (count == 4 && std::string(arguments[1]) == "--echo") {
            LinkEnd(arguments[2], static_cast<uint16_t>(std::atoi(arguments[3]))).Echo();
            return;
        }
        const TemporaryDirectory directory;
        Run(std::filesystem::read_symlink("/proc/self/exe"), directory.Path(), count > 1 ? std::atoi(arguments[1]) : 3);
    });
}
