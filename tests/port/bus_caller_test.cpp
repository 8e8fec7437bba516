#include "linux/bus/bus_caller.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <csignal>
#include <latch>

#include "linux/base/unique_fd.h"
#include "linux/bus/bus_server.h"
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

// A service in this process, which has started the bus and so is the device as well.
class LineTest : public BusTest {
protected:
    LineTest() : server_(device.bus.GetAddress()) {
        server_.Serve(BusWire::DEFAULT_PATH,
            [this](uint32_t code, MessageParcel& data, MessageParcel& reply, const IPCContext& caller) {
                if (code == WAIT) {
                    goOn.wait();
                }
                EXPECT_EQ(caller.callingPid, getpid());
                EXPECT_EQ(caller.callingUid, static_cast<int32_t>(getuid()));
                reply.WriteString(data.ReadString());
                return 0;
            });
    }
    ~LineTest() override {
        server_.Stop();
        thread_.join();
    }

    void Start(bool offersLines) {
        if (offersLines) {
            server_.ServeLines(BusWire::DEFAULT_PATH);
        }
        thread_ = std::thread([this] { server_.Run(); });
        const auto client = device.bus.GetClient();
        remote_ = client->GetRemote(server_.GetUniqueName(), BusWire::DEFAULT_PATH);
        IPCContext bus;
        ASSERT_TRUE(client->GetIdentity().Find("org.freedesktop.DBus", bus));
        bus_ = bus.callingPid;
    }
    // What is answered, or the code of why not.
    std::string Ask(const std::string& text, uint32_t code = 0, std::chrono::milliseconds limit = 20s) const {
        MessageParcel data;
        data.WriteString(text);
        MessageParcel reply;
        const int32_t result = remote_->Send(code, data, reply, limit);
        return result == 0 ? reply.ReadString() : std::to_string(result);
    }
    void Freeze() const { kill(bus_, SIGSTOP); }
    void Thaw() const { kill(bus_, SIGCONT); }

    static constexpr uint32_t WAIT = 1;
    std::latch goOn{1};

private:
    BusServer server_;
    std::thread thread_;
    sptr<RemoteObject> remote_;
    pid_t bus_ = 0;
};

// Ends every socket of this process that has no name on either side.
void BreakLines() {
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        const int file = std::stoi(entry.path().filename());
        sockaddr_un here{};
        sockaddr_un there{};
        socklen_t hereSize = sizeof(here);
        socklen_t thereSize = sizeof(there);
        if (getsockname(file, reinterpret_cast<sockaddr*>(&here), &hereSize) == 0 && here.sun_family == AF_UNIX &&
            getpeername(file, reinterpret_cast<sockaddr*>(&there), &thereSize) == 0 &&
            hereSize == sizeof(sa_family_t) && thereSize == sizeof(sa_family_t)) {
            shutdown(file, SHUT_RDWR);
        }
    }
}

TEST_F(LineTest, AsksAServiceThatOffersItWithoutTheBusAndGoesBackToTheBusWhenALineBreaks) {
    Start(true);
    const std::string large(BusWire::INLINE_LIMIT + 1, 'x');
    EXPECT_EQ(Ask("over the bus once, for the line"), "over the bus once, for the line");
    Freeze();
    EXPECT_EQ(Ask("small"), "small");
    EXPECT_EQ(Ask(large), large);
    Thaw();
    BreakLines();
    EXPECT_EQ(Ask("none is lost"), "none is lost");
    EXPECT_EQ(Ask("and another line is made"), "and another line is made");
    Freeze();
    EXPECT_EQ(Ask("which works"), "which works");
    Thaw();
}

TEST_F(LineTest, MeetsNoAnswerOnALineThatCameTooLate) {
    Start(true);
    EXPECT_EQ(Ask("early"), "early");
    EXPECT_EQ(Ask("late", WAIT, 20ms), std::to_string(IRemoteObject::TIMED_OUT));
    EXPECT_EQ(Ask("the next"), "the next");
    goOn.count_down();
}

TEST_F(LineTest, AsksAServiceThatOffersNoLineOverTheBus) {
    Start(false);
    EXPECT_EQ(Ask("first"), "first");
    EXPECT_EQ(Ask("second"), "second");
    Freeze();
    EXPECT_EQ(Ask("third", 0, 20ms), std::to_string(IRemoteObject::TIMED_OUT));
    Thaw();
}

}  // namespace
}  // namespace ZYNE::Linux
