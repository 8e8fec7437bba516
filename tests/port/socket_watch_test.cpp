// A bus whose socket vanishes, or is another one's.
#include "linux/services/socket_watch.h"

#include <atomic>
#include <functional>

#include "linux/bus/bus_address.h"
#include "tests/port/port_test.h"

namespace ZYNE::Linux {
namespace {

TEST_F(DeviceTest, TakesABusForLostOnceItsSocketOrDirectoryHasVanishedOrIsAnothersAndNotBefore) {
    const fs::path run = directory / "run";
    const fs::path socket = BusSocket(run);
    const std::function<void()> losses[] = {[&] { fs::remove(socket); }, [&] { fs::remove_all(run); },
        [&] {
            Write(directory / "other", "");
            fs::rename(directory / "other", socket);
        }};
    for (const auto& lose : losses) {
        std::atomic<int> lost = 0;
        device.bus.Start({run, {}, [&] {
                              ++lost;
                          }});
        std::atomic<int> seen = 0;
        {
            const SocketWatch unharmed(
                *device.bus.GetLoop(), socket, [&] { ++seen; }, std::chrono::milliseconds(1));
        }
        lose();
        EXPECT_TRUE(Eventually([&] { return lost == 1; }));
        device.bus.Stop();
        EXPECT_EQ(lost, 1);
        EXPECT_EQ(seen, 0);
    }
}

}  // namespace
}  // namespace ZYNE::Linux
