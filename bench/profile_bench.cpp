// How long a value takes from its put on one device to the listener on the other, beside one bare message of the
// same size over the transport in the same run. Two processes, account mode. Either is half a round trip by one clock:
// the far side answers a value with one of its own.
//
//     profile_bench [ROUND_TRIPS]      of each size; 2000 unless given
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>

#include "bench/bench_main.h"
#include "bench/latencies.h"
#include "bench/link_floor.h"
#include "linux/account/account.h"
#include "linux/account/credentials.h"
#include "linux/linux_device.h"
#include "tests/scenario/process.h"
#include "tests/support/profile_listener.h"

namespace ZYNE::Bench {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using Linux::ProfileService;

constexpr size_t SIZES[] = {200, 4096, 65536};
constexpr int ROUND = 50;  // round trips of one kind in a row
constexpr char SERVICE[] = "bench";
constexpr char QUESTION[] = "question";
constexpr char ANSWER[] = "answer";

void Put(Linux::LinuxDevice& device, const char* key, const std::string& value) {
    CharacteristicProfile profile;
    profile.SetDeviceId(ProfileService::LOCAL_DEVICE);
    profile.SetServiceName(SERVICE);
    profile.SetCharacteristicKey(key);
    profile.SetCharacteristicValue(value);
    if (device.profiles.PutCharacteristicProfile(profile) != 0) {
        throw std::runtime_error("a put fails");
    }
}

// What one side runs with: a device with its profile on the network.
struct Device : Linux::LinuxDevice {
    explicit Device(const fs::path& directory) {
        profiles.Open(directory / "profiles.db", Linux::LoadCredentials(directory).udid);
        Linux::FabricOptions options;
        options.deviceName = "bench";
        options.credentials = directory;
        options.stateDirectory = directory;
        options.port = 0;
        network.Start(options);
    }
};

// Answers every question of the other device with its value, and every bare message with itself.
void Echo(const fs::path& directory, const std::string& peerUdid, uint16_t floorPort) {
    Device device(directory);
    device.profiles.SubscribeDeviceProfile(Testing::SubscriptionOf(
        peerUdid, SERVICE, QUESTION, [&device](ProfileChangeType, const CharacteristicProfile& asked) {
            Put(device, ANSWER, asked.GetCharacteristicValue());
        }));
    LinkEnd(directory, floorPort).Echo();
}

// Puts values and takes the answers, each question put by the listener that got the answer before.
class Asker {
public:
    Asker(Linux::LinuxDevice& device, const std::string& peerUdid) : device_(device) {
        device.profiles.SubscribeDeviceProfile(Testing::SubscriptionOf(peerUdid, SERVICE, ANSWER,
            [this](ProfileChangeType, const CharacteristicProfile& answer) { OnAnswer(answer); }));
    }

    // Adds half of each of `count` round trips.
    void Ask(size_t size, int count, Latencies& latencies) {
        std::unique_lock lock(mutex_);
        size_ = size;
        left_ = count;
        latencies_ = &latencies;
        AskNext();
        if (!done_.wait_for(lock, std::chrono::seconds(30), [this] { return left_ == 0; })) {
            throw std::runtime_error("the far device does not answer");
        }
    }

private:
    void OnAnswer(const CharacteristicProfile& answer) {
        const auto now = Clock::now();
        const std::scoped_lock lock(mutex_);
        if (left_ == 0 || answer.GetCharacteristicValue() != asked_) {
            return;
        }
        latencies_->Add((now - start_) / 2);
        if (--left_ == 0) {
            done_.notify_one();
        } else {
            AskNext();
        }
    }
    void AskNext() {
        asked_ = std::to_string(++number_);
        asked_.resize(size_, 'x');
        start_ = Clock::now();
        Put(device_, QUESTION, asked_);
    }

    Linux::LinuxDevice& device_;
    std::mutex mutex_;
    std::condition_variable done_;
    size_t size_ = 0;  // from here on: guarded by mutex_
    int left_ = 0;
    int number_ = 0;
    std::string asked_;
    Clock::time_point start_;
    Latencies* latencies_ = nullptr;
};

struct Figures {
    Latencies profile;
    Latencies link;
};

void Measure(Asker& asker, LinkEnd& link, size_t size, int roundTrips, Figures& figures) {
    for (int done = -ROUND; done < roundTrips; done += ROUND) {
        Figures warmUp;
        Figures& used = done < 0 ? warmUp : figures;
        asker.Ask(size, ROUND, used.profile);
        for (int i = 0; i < ROUND; ++i) {
            const auto start = Clock::now();
            link.RoundTrip(size);
            used.link.Add((Clock::now() - start) / 2);
        }
    }
}

void Report(size_t size, Figures& figures) {
    std::printf("%8zu", size);
    for (const double percent : {50.0, 99.0}) {
        const double whole = figures.profile.Percentile(percent);
        const double floor = figures.link.Percentile(percent);
        std::printf("%12.0f %8.0f %8.2f", whole, floor, whole / floor);
    }
    std::printf("\n");
}

void Run(const std::string& self, const fs::path& directory, int roundTrips) {
    const std::string nearUdid(64, 'a');
    const std::string farUdid(64, 'b');
    Linux::CreateAccount(directory / "account", "bench");
    Linux::EnrollDevice(directory / "account", directory / "near", nearUdid);
    Linux::EnrollDevice(directory / "account", directory / "far", farUdid);
    const LinkPort port;
    const Testing::Process echo(
        {self, "--echo", directory / "far", nearUdid, std::to_string(port.Number())}, directory / "echo.txt");
    Device device(directory / "near");
    Asker asker(device, farUdid);
    LinkEnd link(directory / "near", port);
    std::printf(
        "%8s%12s %8s %8s%12s %8s %8s\n", "bytes", "profile p50", "TLS p50", "ratio", "profile p99", "TLS p99", "ratio");
    for (const size_t size : SIZES) {
        Figures figures;
        Measure(asker, link, size, roundTrips, figures);
        Report(size, figures);
    }
    std::printf("microseconds one way, %d round trips of each kind, two processes, account mode\n", roundTrips);
}

}  // namespace
}  // namespace ZYNE::Bench

int main(int count, char** arguments) {
    using namespace ZYNE::Bench;
    return BenchMain("profile_bench", [&] {
        if (count == 5 && std::string(arguments[1]) == "--echo") {
            Echo(arguments[2], arguments[3], static_cast<uint16_t>(std::atoi(arguments[4])));
            return;
        }
        const TemporaryDirectory directory;
        Run(std::filesystem::read_symlink("/proc/self/exe"), directory.Path(),
            count > 1 ? std::atoi(arguments[1]) : 2000);
    });
}
