// What it takes when many devices of an account start at once, each a process of its own on loopback: whether all links
// come about, how long that takes, memory and processor time. Then what the devices use while nothing goes on.
//
//     storm [DEVICES [SECONDS]]     40 devices idle for 20 seconds, unless given; "storm 2 30" shows one with one peer
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bench/bench_main.h"
#include "bench/usage.h"
#include "tests/scenario/test_device.h"

namespace ZYNE::Bench {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;
using Testing::Process;
using Testing::TestDevice;

constexpr auto MAX_START = 120s;
constexpr auto MAX_END = 5s;
constexpr auto SETTLING = 3s;  // after the start; how long the daemons still work on what they have just seen

// A device under its own process, so that all can be started before any of them is up.
struct Participant {
    std::unique_ptr<TestDevice> device;
    std::unique_ptr<Process> process;
    std::unique_ptr<Client::Device> client;  // once it can be asked
    size_t links = 0;                        // peers that it lists as online
};

class Storm {
public:
    Storm(const fs::path& directory, size_t devices) {
        for (size_t i = 0; i < devices; ++i) {
            const std::string name = "device-" + std::to_string(i);
            participants_.push_back(
                {std::make_unique<TestDevice>(directory / name, name, Testing::DeviceSetup{}), {}, {}});
        }
    }

    void Start();
    void Idle(Clock::duration time);
    void Stop();

private:
    size_t CountLinks();
    std::vector<Usage> AllUsage() const;
    size_t WantedLinks() const { return participants_.size() * (participants_.size() - 1); }

    std::vector<Participant> participants_;
};

void Storm::Start() {
    const auto start = Clock::now();
    for (Participant& each : participants_) {
        each.process = std::make_unique<Process>(
            std::vector<std::string>{COLLABD, "--config", each.device->ConfigFile()}, each.device->OutputFile());
    }
    size_t links = 0;
    while ((links = CountLinks()) < WantedLinks() && Clock::now() - start < MAX_START) {
        std::this_thread::sleep_for(50ms);
    }
    const Seconds taken = Clock::now() - start;
    double memory = 0;
    double cpu = 0;
    for (const Usage& usage : AllUsage()) {
        memory += usage.memoryKiB / 1024;
        cpu += usage.cpuMs / 1000;
    }
    const auto devices = static_cast<double>(participants_.size());
    std::printf("%zu of %zu links after %.2f s, seen from both ends; no process has ended\n", links, WantedLinks(),
        taken.count());
    std::printf("memory: %.1f MiB, %.1f MiB a device; processor time: %.2f s, %.2f s a device\n", memory,
        memory / devices, cpu, cpu / devices);
}

// A device that lists all the others is not asked again.
size_t Storm::CountLinks() {
    size_t links = 0;
    for (Participant& each : participants_) {
        if (each.process->HasEnded()) {
            throw std::runtime_error(
                each.device->Name() + " has ended: " + Testing::ReadAll(each.device->OutputFile()));
        }
        const auto entry = each.client ? std::nullopt : each.device->Entry();
        if (entry && entry->running && !entry->busAddress.empty()) {
            each.client = std::make_unique<Client::Device>(*entry, 60s);
        }
        if (each.client && each.links + 1 < participants_.size()) {
            const auto peers = each.client->Info().ListPeers();
            each.links = static_cast<size_t>(std::ranges::count(peers, true, &Client::Peer::online));
        }
        links += each.links;
    }
    return links;
}

std::vector<Usage> Storm::AllUsage() const {
    std::vector<Usage> all;
    for (const Participant& each : participants_) {
        all.push_back(UsageOf(each.process->Pid()));
    }
    return all;
}

void Storm::Idle(Clock::duration time) {
    std::this_thread::sleep_for(SETTLING);
    const std::vector<Usage> before = AllUsage();
    const auto start = Clock::now();
    std::this_thread::sleep_for(time);
    const double seconds = Seconds(Clock::now() - start).count();
    const std::vector<Usage> after = AllUsage();
    double cpu = 0;
    double mostCpu = 0;
    double wakeUps = 0;
    double memory = 0;
    for (size_t i = 0; i < after.size(); ++i) {
        const double percent = (after[i].cpuMs - before[i].cpuMs) / 10 / seconds;
        cpu += percent;
        mostCpu = std::max(mostCpu, percent);
        wakeUps += static_cast<double>(after[i].wakeUps - before[i].wakeUps) / seconds;
        memory += after[i].memoryKiB / 1024;
    }
    const auto devices = static_cast<double>(after.size());
    std::printf("idle for %.0f s, a device: %.2f %% of a core (most: %.2f), %.1f wake-ups a second, %.1f MiB\n",
        seconds, cpu / devices, mostCpu, wakeUps / devices, memory / devices);
    std::printf("threads of one:");
    for (const auto& [name, count] : ThreadNames(participants_.front().process->Pid())) {
        std::printf(" %s%s", name.c_str(), count > 1 ? ("*" + std::to_string(count)).c_str() : "");
    }
    std::printf("\n");
}

void Storm::Stop() {
    const auto start = Clock::now();
    for (Participant& each : participants_) {
        each.process->Signal(SIGTERM);
    }
    for (Participant& each : participants_) {
        const bool hasEnded = Testing::Eventually([&] { return each.process->HasEnded(); }, MAX_END);
        if (!hasEnded || each.process->Wait() != 0) {
            throw std::runtime_error(each.device->Name() +
                (hasEnded ? " ends with status " + std::to_string(each.process->Wait()) : " does not end") + ": " +
                Testing::ReadAll(each.device->OutputFile()));
        }
    }
    std::printf("all have ended %.2f s after SIGTERM\n", Seconds(Clock::now() - start).count());
}

void Run(size_t devices, std::chrono::seconds idle) {
    const TemporaryDirectory directory;
    setenv("XDG_RUNTIME_DIR", directory.Path().c_str(), 1);
    Storm storm(directory.Path(), devices);
    storm.Start();
    std::fflush(stdout);
    storm.Idle(idle);
    storm.Stop();
}

}  // namespace
}  // namespace ZYNE::Bench

int main(int count, char** arguments) {
    return ZYNE::Bench::BenchMain("storm", [&] {
        const size_t devices = count > 1 ? std::strtoul(arguments[1], nullptr, 10) : 40;
        ZYNE::Bench::Run(std::max<size_t>(devices, 2), std::chrono::seconds(count > 2 ? std::atoi(arguments[2]) : 20));
    });
}
