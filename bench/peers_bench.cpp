// What many peers cost a device: how long it takes, and how much memory, until a batch of new ones is online and
// subscribed, as their number grows. The peers are played by this process over the same engine, in open mode.
//
//     peers_bench [PEERS]        1000 unless given; in four batches
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>

#include "bench/bench_main.h"
#include "bench/crowd.h"
#include "bench/usage.h"
#include "tests/scenario/test_device.h"

namespace ZYNE::Bench {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr size_t BATCHES = 4;
constexpr size_t SUBSCRIPTIONS = 2;  // of a peer that is no TV
constexpr char SUBSCRIBED[] = "SubscribeDeviceProfile ret: 0";
constexpr auto MAX_WAIT = std::chrono::minutes(1);

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

void WaitFor(LineCounter& lines, size_t count, const Crowd& crowd) {
    for (const auto end = Clock::now() + MAX_WAIT; lines.Count() < count;) {
        if (Clock::now() > end) {
            throw std::runtime_error("the device sees " + std::to_string(lines.Count() / SUBSCRIPTIONS) +
                " peers only; " + std::to_string(crowd.Lost()) + " links have ended");
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
        const auto start = Clock::now();
        crowd.Add(batch);
        WaitFor(subscribed, done * SUBSCRIPTIONS, crowd);
        const Milliseconds taken = Clock::now() - start;
        const Usage after = UsageOf(pid);
        const auto each = static_cast<double>(batch);
        std::printf("%8zu %18.2f %18.2f %20.1f\n", done, taken.count() / each, (after.cpuMs - before.cpuMs) / each,
            (after.memoryKiB - before.memoryKiB) / each);
        std::fflush(stdout);
    }
}

void Run(size_t peers) {
    const TemporaryDirectory temporary;
    const fs::path directory = temporary.Path();
    setenv("XDG_RUNTIME_DIR", directory.c_str(), 1);
    const std::string account = directory.filename();
    const Testing::TestDevice device(directory / "desk", "desk", {.account = account, .open = true});
    Testing::Process process({COLLABD, "--config", device.ConfigFile()}, directory / "output.txt");
    const bool isUp = Testing::Eventually([&] {
        const auto entry = device.Entry();
        return entry && entry->running && !entry->busAddress.empty();
    });
    if (!isUp) {
        throw std::runtime_error("the device does not start: " + Testing::ReadAll(directory / "output.txt"));
    }
    Crowd crowd(account, device.Api().GetNetwork().port);
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
