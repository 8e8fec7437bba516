#include "linux/bus/bus_caller.h"

#include <sys/socket.h>
#include <sys/un.h>

#include "linux/base/unique_fd.h"
#include "platform/ipc/remote_object.h"
#include "tests/port/port_test.h"

namespace ZYNE::Linux {
namespace {

using namespace std::chrono_literals;

// A bus that takes connections and says nothing, as one that is stopped does.
TEST_F(PortTest, GivesUpACallAtItsTimeAlsoWhereTheBusDoesNotLetItIn) {
    const UniqueFd silent(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{AF_UNIX, {}};
    const std::string path = (directory / "bus").native();
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    ASSERT_EQ(bind(silent.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    ASSERT_EQ(listen(silent.Get(), 1), 0);
    BusCaller caller("unix:path=" + path);
    const auto nothing = [](sd_bus_message*) {
        return 0;
    };
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(caller.Call(BusDaemonMethod("GetId"), 20ms, nothing, nothing), IRemoteObject::TIMED_OUT);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 20s);  // connecting alone may take longer
    BusCaller nowhere("unix:path=/nowhere");
    EXPECT_EQ(nowhere.Call(BusDaemonMethod("GetId"), 20s, nothing, nothing), IRemoteObject::DEAD);
}

}  // namespace
}  // namespace ZYNE::Linux
