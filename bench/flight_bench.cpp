// How many `info get` of one item a device answers to one program that keeps many of them in flight, beside its answers
// with few in flight in the same run. Two devices run, in account mode.
//
//     flight_bench [IN_FLIGHT...]      10, 100 and 1000 unless given; the first is what the others are compared with
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/bench_main.h"
#include "tests/scenario/pipeline.h"
#include "tests/scenario/test_device.h"

namespace ZYNE::Bench {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;
using Testing::TestDevice;

constexpr char ITEM[] = "service.hello";
constexpr auto WARM_UP = 1s;
constexpr auto TIME = 5s;

struct Figures {
    size_t answers = 0;
    size_t refused = 0;  // as Busy
    size_t failed = 0;   // in another way, or without the item
    double seconds = 0;  // from the first request to the last answer

    double PerSecond() const { return static_cast<double>(answers) / seconds; }
    double Percent(size_t of) const {
        return 100 * static_cast<double>(of) / static_cast<double>(answers + refused + failed);
    }
};

bool HasItem(sd_bus_message* answer) {
    int32_t code = -1;
    const char* name = "";
    const char* value = "";
    return sd_bus_message_read(answer, "i", &code) > 0 && code == 0 &&
        sd_bus_message_enter_container(answer, 'a', "(ss)") > 0 &&
        sd_bus_message_read(answer, "(ss)", &name, &value) > 0 && *value != '\0';
}

Figures Fly(const TestDevice& asker, size_t inFlight, Clock::duration time) {
    Figures figures;
    Testing::Pipeline program(asker, [&](sd_bus_message* answer) {
        if (sd_bus_message_is_method_error(answer, "io.collaborationfwk.Error.Busy") > 0) {
            ++figures.refused;
        } else {
            ++(HasItem(answer) ? figures.answers : figures.failed);
        }
    });
    const auto start = Clock::now();
    while (Clock::now() - start < time) {
        while (program.InFlight() < inFlight) {
            program.Send("GetInfo", "sas", "pc", 1, ITEM);
        }
        program.Work();
    }
    program.Await();
    figures.seconds = Seconds(Clock::now() - start).count();
    return figures;
}

void Run(const std::filesystem::path& directory, const std::vector<size_t>& flights) {
    setenv("XDG_RUNTIME_DIR", directory.c_str(), 1);
    TestDevice phone(directory / "phone", "phone", {.type = "phone"});
    TestDevice pc(directory / "pc", "pc", {.hasTestProvider = true});
    phone.Start();
    pc.Start();
    if (!Testing::Eventually([&] { return phone.Sees("pc") && !phone.AskOne("pc", ITEM).empty(); })) {
        throw std::runtime_error("the devices do not find each other");
    }
    Fly(phone, flights.front(), WARM_UP);
    std::printf("requests of one item by one program, two devices, account mode\n\n");
    std::printf("%10s %12s %10s %10s %8s\n", "in flight", "answers/s", "refused %", "failed %", "ratio");
    double first = 0;
    for (const size_t inFlight : flights) {
        const Figures figures = Fly(phone, inFlight, TIME);
        first = first > 0 ? first : figures.PerSecond();
        std::printf("%10zu %12.0f %10.2f %10.2f %8.2f\n", inFlight, figures.PerSecond(),
            figures.Percent(figures.refused), figures.Percent(figures.failed), figures.PerSecond() / first);
    }
    phone.Stop();
    pc.Stop();
}

}  // namespace
}  // namespace ZYNE::Bench

int main(int count, char** arguments) {
    using namespace ZYNE::Bench;
    return BenchMain("flight_bench", [&] {
        std::vector<size_t> flights;
        for (int i = 1; i < count; ++i) {
            flights.push_back(std::strtoul(arguments[i], nullptr, 10));
        }
        const TemporaryDirectory directory;
        Run(directory.Path(), flights.empty() ? std::vector<size_t>{10, 100, 1000} : flights);
    });
}
