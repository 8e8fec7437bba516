// What crossing costs the library itself, on a simulated device and with the log switched off: a pointer event that is
// not at an edge, and a decision as the number of trusted devices grows. None of them has its switch on, so a decision
// looks at all of them.
//
//     crossing_bench
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>

#include "platform/host/device_info.h"
#include "plugin/key_mouse/key_mouse_service_manager.h"
#include "tests/support/simulated_device.h"

namespace ZYNE::Bench {
namespace {

using CollaborationFwk::KeyMouseServiceManager;
using Clock = std::chrono::steady_clock;

constexpr int EVENTS = 1000000;
constexpr size_t MAX_DEVICES = 10000;

template <typename Operation>
double Nanoseconds(Operation operation) {
    const auto start = Clock::now();
    operation();
    return std::chrono::duration<double, std::nano>(Clock::now() - start).count();
}

std::shared_ptr<PointerEvent> EventInTheMiddle() {
    PointerItem item;
    item.SetDisplayX(500);
    item.SetDisplayY(500);
    const auto event = std::make_shared<PointerEvent>();
    event->SetPointerId(0);
    event->SetPointerItem(0, item);
    event->SetTargetDisplayId(0);
    return event;
}

void MeasurePointer(Testing::SimulatedDevice& device) {
    device.input.displays[0] = MakeSptr<Display>(0, 1920, 1080);
    KeyMouseServiceManager& manager = KeyMouseServiceManager::GetInstance();
    const auto event = EventInTheMiddle();
    const double taken = Nanoseconds([&] {
        for (int i = 0; i < EVENTS; ++i) {
            manager.OnMouseEvent(event);
        }
    });
    std::printf("a pointer event that is not at an edge: %.0f ns\n\n", taken / EVENTS);
}

void AddDevices(Testing::SimulatedDevice& device, size_t count) {
    auto& trusted = device.deviceManager.trusted;
    while (trusted.size() < count) {
        const std::string name = "peer-" + std::to_string(trusted.size());
        trusted.push_back({name, name, name, R"({"OS_TYPE":10})", CollaborationFwk::DeviceType::PHONE,
            DmDeviceInfo::IDENTICAL_ACCOUNT});
        device.host.udids[name] = name;
    }
}

void MeasureDecisions(Testing::SimulatedDevice& device) {
    KeyMouseServiceManager& manager = KeyMouseServiceManager::GetInstance();
    manager.SetLocalDeviceUdid();
    std::printf("%8s %16s %16s\n", "devices", "ms a decision", "us a device");
    for (size_t count = MAX_DEVICES / 8; count <= MAX_DEVICES; count *= 2) {
        AddDevices(device, count);
        device.journal.Clear();
        const double taken = Nanoseconds([&] { manager.StartOrStopKeyMouseService(true); });
        std::printf("%8zu %16.2f %16.2f\n", count, taken / 1e6, taken / 1e3 / static_cast<double>(count));
    }
}

}  // namespace
}  // namespace ZYNE::Bench

int main() {
    ZYNE::LogService::minLevel = ZYNE::LogLevel{7};  // none
    ZYNE::Testing::SimulatedDevice device;
    ZYNE::Bench::MeasurePointer(device);
    ZYNE::Bench::MeasureDecisions(device);
    return 0;
}
