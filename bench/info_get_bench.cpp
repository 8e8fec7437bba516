// How long one whole `info get` of one item takes, beside the raw floor in the same run: one bare round trip of
// the same size over the transport plus one bare bus call to the same service. Two devices run, in account mode.
//
//     info_get_bench [REQUESTS]        2000 unless given
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "bench/bench_main.h"
#include "bench/bus_floor.h"
#include "bench/latencies.h"
#include "bench/link_floor.h"
#include "platform/ipc/message_parcel.h"
#include "tests/scenario/test_device.h"

namespace ZYNE::Bench {
namespace {

namespace fs = std::filesystem;
using Testing::TestDevice;

constexpr char ITEM[] = "service.hello";
constexpr uint32_t ITEM_CODE = 7;    // of the test provider
constexpr size_t MESSAGE_SIZE = 70;  // bytes of a request for one item, and about those of its answer
constexpr int ROUND = 50;            // requests of one kind in a row

struct Figures {
    Latencies whole;
    Latencies ownCall;  // of the program to its device, a part of the whole
    Latencies link;
    Latencies bus;
};

void Print(const char* what, Latencies& latencies) {
    std::printf("%-52s %8.0f %8.0f\n", what, latencies.Percentile(50), latencies.Percentile(99));
}

void Report(Figures& figures) {
    std::printf("%zu requests of one item, two devices, account mode\n\n", figures.whole.Size());
    std::printf("%-52s %8s %8s\n", "microseconds", "p50", "p99");
    Print("info get: program, phone, PC, service and back", figures.whole);
    Print("  of that the program's call to its own device", figures.ownCall);
    Print("one bare TLS round trip of the same size", figures.link);
    Print("one bare bus call to the same service", figures.bus);
    for (const double percent : {50.0, 99.0}) {
        const double floor = figures.link.Percentile(percent) + figures.bus.Percentile(percent);
        const double whole = figures.whole.Percentile(percent);
        std::printf("\nratio at p%.0f: %.2f of the floor; without the program's own call %.2f", percent, whole / floor,
            (whole - figures.ownCall.Percentile(percent)) / floor);
    }
    std::printf("\n");
}

std::vector<uint8_t> ItemRequest() {
    MessageParcel data;
    data.WriteInterfaceToken(u"test.IProvider");
    data.WriteStringVector({ITEM});
    return data.GetBytes();
}

void Measure(TestDevice& phone, TestDevice& pc, LinkEnd& link, int requests, Figures& figures) {
    Client::Device client(*phone.Entry());
    BusEnd bus(pc.Entry()->busAddress, "test.Provider");
    const std::vector<uint8_t> request = ItemRequest();
    for (int done = -ROUND; done < requests; done += ROUND) {
        Figures warmUp;
        Figures& used = done < 0 ? warmUp : figures;
        for (int i = 0; i < ROUND; ++i) {
            used.whole.Time([&] {
                if (client.Info().Get("pc", {ITEM}).records.front().second.empty()) {
                    throw std::runtime_error("the PC does not answer");
                }
            });
        }
        for (int i = 0; i < ROUND; ++i) {
            used.ownCall.Time([&] { client.Name(); });
        }
        for (int i = 0; i < ROUND; ++i) {
            used.link.Time([&] { link.RoundTrip(MESSAGE_SIZE); });
        }
        for (int i = 0; i < ROUND; ++i) {
            used.bus.Time([&] { bus.Call(ITEM_CODE, request); });
        }
    }
}

void Run(const std::string& self, const fs::path& directory, int requests) {
    setenv("XDG_RUNTIME_DIR", directory.c_str(), 1);
    // The ends of the floor have credentials as devices have.
    const TestDevice near(directory / "near", "near", {});
    const TestDevice far(directory / "far", "far", {});
    TestDevice phone(directory / "phone", "phone", {.type = "phone"});
    TestDevice pc(directory / "pc", "pc", {.hasTestProvider = true});
    phone.Start();
    pc.Start();
    const LinkPort port;
    const Testing::Process echo(
        {self, "--echo", far.Directory() / "credentials", std::to_string(port.Number())}, directory / "echo.txt");
    LinkEnd link(near.Directory() / "credentials", port);
    const bool isReady = Testing::Eventually([&] { return phone.Sees("pc") && !phone.AskOne("pc", ITEM).empty(); });
    if (!isReady) {
        throw std::runtime_error("the devices do not find each other");
    }
    Figures figures;
    Measure(phone, pc, link, requests, figures);
    Report(figures);
    phone.Stop();
    pc.Stop();
}

}  // namespace
}  // namespace ZYNE::Bench

int main(int count, char** arguments) {
    using namespace ZYNE::Bench;
    return BenchMain("info_get_bench", [&] {
        if (count == 4 && std::string(arguments[1]) == "--echo") {
            LinkEnd(arguments[2], static_cast<uint16_t>(std::atoi(arguments[3]))).Echo();
            return;
        }
        const TemporaryDirectory directory;
        Run(std::filesystem::read_symlink("/proc/self/exe"), directory.Path(),
            count > 1 ? std::atoi(arguments[1]) : 2000);
    });
}
