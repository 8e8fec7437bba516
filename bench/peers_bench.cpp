// What many peers cost a device: how long it takes, and how much memory, until a batch of new ones is online and
// subscribed, as their number grows. The peers are played by this process over the same engine, in open mode.
//
//     peers_bench [PEERS]        1000 unless given; in four batches
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>

#include "bench/bench_main.h"
#include "bench/crowd.h"
#include "tests/scenario/test_device.h"

namespace ZYNE::Bench {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr char ACCOUNT[] = "crowd";
constexpr size_t BATCHES = 4;
constexpr size_t SUBSCRIPTIONS = 2;  // of a peer that is no TV
constexpr char SUBSCRIBED[] = "SubscribeDeviceProfile ret: 0";
constexpr auto LONGEST = std::chrono::minutes(2);

// Counts the lines of a growing file that contain a text.
class LineCounter {
public:
    LineCounter(const fs::path& file, std::string text) : stream_(file), text_(std::move(text)) {}

    size_t Count() {
        for (std::string line; std::getline(stream_, line);) {
            count_ += line.find(text_) != std::string::npos ? 1 : 0;
        }
        stream_.clear();
        return count_;
    }

private:
    std::ifstream stream_;
    const std::string text_;
    size_t count_ = 0;
};

struct Usage {
    Clock::time_point at;
    double cpuMs;
    double memoryKiB;
};

Usage UsageOf(pid_t pid) {
    const std::string process = "/proc/" + std::to_string(pid);
    const std::string stat = Testing::ReadAll(process + "/stat");
    std::istringstream fields(stat.substr(stat.rfind(')') + 1));
    std::string skipped;
    for (int field = 3; field < 14; ++field) {
        fields >> skipped;
    }
    double userTicks = 0;
    double systemTicks = 0;
    fields >> userTicks >> systemTicks;
    size_t pages = 0;
    std::ifstream(process + "/statm") >> pages >> pages;  // the second is what is in memory
    return {Clock::now(), (userTicks + systemTicks) * 1000 / static_cast<double>(sysconf(_SC_CLK_TCK)),
        static_cast<double>(pages) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1024};
}

void WaitFor(LineCounter& lines, size_t count) {
    for (const auto end = Clock::now() + LONGEST; lines.Count() < count;) {
        if (Clock::now() > end) {
            throw std::runtime_error("the device does not see all of its peers");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void Measure(pid_t pid, const fs::path& log, Crowd& crowd, size_t peers) {
    LineCounter subscribed(log, SUBSCRIBED);
    std::printf("%8s %18s %18s %20s\n", "peers", "ms a peer, wall", "ms a peer, CPU", "KiB in memory a peer");
    const size_t batch = peers / BATCHES;
    for (size_t done = batch; done <= peers; done += batch) {
        const Usage before = UsageOf(pid);
        crowd.Add(batch);
        WaitFor(subscribed, done * SUBSCRIPTIONS);
        const Usage after = UsageOf(pid);
        const auto each = static_cast<double>(batch);
        std::printf("%8zu %18.2f %18.2f %20.1f\n", done, Milliseconds(after.at - before.at).count() / each,
            (after.cpuMs - before.cpuMs) / each, (after.memoryKiB - before.memoryKiB) / each);
        std::fflush(stdout);
    }
}

void Run(size_t peers) {
    const TemporaryDirectory temporary;
    const fs::path directory = temporary.Path();
    setenv("XDG_RUNTIME_DIR", directory.c_str(), 1);
    const Testing::TestDevice device(directory / "desk", "desk", {.account = ACCOUNT, .open = true});
    Testing::Process process({COLLABD, "--config", device.ConfigFile()}, directory / "output.txt");
    const bool isUp = Testing::Eventually([&] {
        const auto entry = device.Entry();
        return entry && entry->running && !entry->busAddress.empty();
    });
    if (!isUp) {
        throw std::runtime_error("the device does not start: " + Testing::ReadAll(directory / "output.txt"));
    }
    Crowd crowd(ACCOUNT, directory.filename());
    Measure(process.Pid(), device.Entry()->LogFile(), crowd, peers);
    process.Signal(SIGTERM);
    process.Wait();
}

}  // namespace
}  // namespace ZYNE::Bench

int main(int count, char** arguments) {
    return ZYNE::Bench::BenchMain(
        "peers_bench", [&] { ZYNE::Bench::Run(count > 1 ? std::strtoul(arguments[1], nullptr, 10) : 1000); });
}
