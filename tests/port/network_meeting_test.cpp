#include <netinet/in.h>
#include <sys/socket.h>
#include <systemd/sd-bus.h>

#include <atomic>
#include <optional>

#include "linux/base/unique_fd.h"
#include "linux/bus/bus_handles.h"
#include "linux/network/discovery/beacon.h"
#include "linux/network/discovery/listeners.h"
#include "linux/network/discovery/logind_watch.h"
#include "linux/network/discovery/wake_watch.h"
#include "tests/port/port_test.h"

namespace ZYNE::Linux {
namespace {

using ::testing::Each;
using ::testing::IsEmpty;
using ::testing::Not;

const std::string ID_A(32, 'a');
const std::string ID_B(32, 'b');

TEST(MeetingKey, OpensWhatItHasSealedAndNothingElse) {
    const MeetingKey key(std::string(MeetingKey::BYTES, 'k'));
    const MeetingKey other(std::string(MeetingKey::BYTES, 'o'));
    for (const std::string& text : {std::string(), std::string("a\0b", 3), std::string(1000, 'x')}) {
        const std::string sealed = key.Seal(text);
        EXPECT_EQ(sealed.size(), text.size() + MeetingKey::SEAL_BYTES);
        EXPECT_EQ(key.Open(sealed), text);
        EXPECT_NE(key.Seal(text), sealed);
        EXPECT_EQ(other.Open(sealed), std::nullopt);
        EXPECT_EQ(key.Open(sealed + "x"), std::nullopt);
        for (size_t i = 0; i < sealed.size(); ++i) {
            std::string changed = sealed;
            changed[i] ^= 1;
            EXPECT_EQ(key.Open(changed), std::nullopt) << i;
            EXPECT_EQ(key.Open(sealed.substr(0, i)), std::nullopt) << i;
        }
    }
    EXPECT_THROW(MeetingKey("short"), std::runtime_error);
}

TEST(MeetingKey, ProvesItselfForOneChallengeAndText) {
    const MeetingKey key = MeetingKey::OfName("home");
    const std::string proof = key.Prove("challenge", "text");
    EXPECT_EQ(proof.size(), MeetingKey::PROOF_BYTES);
    EXPECT_TRUE(MeetingKey::OfName("home").IsProof(proof, "challenge", "text"));
    EXPECT_FALSE(MeetingKey::OfName("hom").IsProof(proof, "challenge", "text"));
    EXPECT_FALSE(MeetingKey::OfName("").IsProof(proof, "challenge", "text"));
    EXPECT_FALSE(key.IsProof(proof, "challengetext", ""));
    EXPECT_FALSE(key.IsProof(proof, "challenge", "texT"));
    EXPECT_FALSE(key.IsProof(proof.substr(1), "challenge", "text"));
    EXPECT_FALSE(key.IsProof(proof + "x", "challenge", "text"));
    EXPECT_FALSE(key.IsProof("", "challenge", "text"));
}

TEST(Endpoint, IsTheSameAsTextAndBack) {
    const std::vector<std::pair<std::string, std::string>> texts{{"192.0.2.1", "192.0.2.1:7"},
        {"::ffff:192.0.2.1", "192.0.2.1:7"}, {"2001:db8::1", "[2001:db8::1]:7"}, {"fe80::1%lo", "[fe80::1%lo]:7"},
        {"fe80::1%1", "[fe80::1%lo]:7"}, {"fe80::1", "[fe80::1]:7"}};
    for (const auto& [address, text] : texts) {
        const auto endpoint = Endpoint::FromText(address, 7);
        ASSERT_TRUE(endpoint) << address;
        EXPECT_EQ(endpoint->Text(), text);
        EXPECT_EQ(Endpoint(endpoint->Get(), endpoint->Size()), *endpoint);
        EXPECT_EQ(Endpoint::FromText(endpoint->AddressText(), 7), endpoint);
    }
    for (const char* wrong : {"", "host", "1.2.3", "1.2.3.4:5", "[::1]", "::1%lo", "fe80::1%", "fe80::1%no-such-one"}) {
        EXPECT_FALSE(Endpoint::FromText(wrong, 7)) << wrong;
    }
    EXPECT_NE(Endpoint::FromText("fe80::1%1", 7), Endpoint::FromText("fe80::1%2", 7));
    EXPECT_EQ(Endpoint().Text(), "");
}

// On loopback.
class Meeting : public ::testing::Test {
protected:
    // A port that nobody uses.
    static uint16_t FreePort(int type) {
        const UniqueFd socket(::socket(AF_INET, type, 0));
        const Endpoint any = *Endpoint::FromText("127.0.0.1", 0);
        EXPECT_EQ(bind(socket.Get(), any.Get(), any.Size()), 0);
        return Endpoint::OfSocket(socket.Get()).Port();
    }
    static bool Connects(const std::string& address, uint16_t port) {
        const Endpoint to = *Endpoint::FromText(address, port);
        const UniqueFd socket(::socket(to.Family(), SOCK_STREAM | SOCK_CLOEXEC, 0));
        return connect(socket.Get(), to.Get(), to.Size()) == 0;
    }

    const std::vector<NetworkInterface> loopback = ReadNetworkInterfaces({"lo"});
    EventLoop loop{"test-net"};
};

TEST_F(Meeting, LoopbackIsAnInterfaceWhenItIsNamedAndNotByItself) {
    ASSERT_EQ(loopback.size(), 1U);
    EXPECT_TRUE(loopback[0].isLoopback);
    EXPECT_EQ(loopback[0].addresses[0].Text(), "127.0.0.1:0");
    ASSERT_EQ(loopback[0].broadcasts.size(), 1U);
    EXPECT_EQ(loopback[0].broadcasts[0].Text(), "127.255.255.255:0");
    for (const NetworkInterface& each : ReadNetworkInterfaces({NetworkInterface::AUTOMATIC, "no-such-one"})) {
        EXPECT_FALSE(each.isLoopback);
        EXPECT_THAT(each.addresses, Not(IsEmpty()));
    }
}

// Runs a beacon on a port that it shares with others.
class TestBeacon {
public:
    TestBeacon(EventLoop& loop, const std::string& account, uint16_t beaconPort, const std::string& id,
        uint16_t listeningPort, const std::vector<NetworkInterface>& interfaces)
        : loop_(loop) {
        loop_.Run([&] {
            beacon_.emplace(loop_, MeetingKey::OfName(account), Beacon::Options{beaconPort, id},
                [this](const Beacon::Heard& each) { heard.Add(each.networkId + " " + each.where.Text()); });
            beacon_->Follow(interfaces, listeningPort);
        });
    }
    TestBeacon(const TestBeacon&) = delete;
    TestBeacon& operator=(const TestBeacon&) = delete;
    ~TestBeacon() {
        loop_.Run([&] { beacon_.reset(); });
    }

    void Announce() {
        loop_.Run([&] { beacon_->Announce(); });
    }

    Told<std::string> heard;

private:
    EventLoop& loop_;
    std::optional<Beacon> beacon_;
};

TEST_F(Meeting, BeaconsOfOneAccountHearEachOtherOnceASecondAfterAFloodOfNoiseTooAndNoOthers) {
    const uint16_t port = FreePort(SOCK_DGRAM);
    TestBeacon homeA(loop, "home", port, ID_A, 1001, loopback);
    const UniqueFd socket(::socket(AF_INET, SOCK_DGRAM, 0));
    const Endpoint to = *Endpoint::FromText("127.0.0.1", port);
    const std::string noise(64 + MeetingKey::SEAL_BYTES, 'n');
    for (int i = 0; i < 3 * Beacon::MAX_PER_SECOND; ++i) {
        sendto(socket.Get(), noise.data(), noise.size() - static_cast<size_t>(i % 2), 0, to.Get(), to.Size());
    }
    const auto start = EventLoop::Clock::now();
    TestBeacon homeB(loop, "home", port, ID_B, 1002, loopback);
    TestBeacon workA(loop, "work", port, ID_A, 2001, loopback);
    TestBeacon workB(loop, "work", port, ID_B, 2002, loopback);
    EXPECT_TRUE(Eventually([&] {
        homeB.Announce();
        workA.Announce();
        return homeA.heard.All().size() >= 2 && workB.heard.All().size() >= 2;
    }));
    EXPECT_GE(EventLoop::Clock::now() - start, std::chrono::seconds(1));
    EXPECT_TRUE(homeB.heard.Reaches(1) && workA.heard.Reaches(1));
    EXPECT_THAT(homeA.heard.All(), Each(ID_B + " 127.0.0.1:1002"));
    EXPECT_THAT(homeB.heard.All(), Each(ID_A + " 127.0.0.1:1001"));
    EXPECT_THAT(workA.heard.All(), Each(ID_B + " 127.0.0.1:2002"));
    EXPECT_THAT(workB.heard.All(), Each(ID_A + " 127.0.0.1:2001"));
}

TEST_F(Meeting, ListenersTakeBothFamiliesOnTheirInterfacesAloneAndGiveWayWhenThePortIsTaken) {
    Told<std::string> taken;
    const auto handler = [&](UniqueFd, const Endpoint& from, const NetworkInterface& on) {
        taken.Add(from.AddressText() + " " + on.name);
    };
    std::optional<Listeners> any;
    std::optional<Listeners> fixed;
    std::optional<Listeners> flexible;
    loop.Run([&] {
        any.emplace(loop, 0, false, handler);
        EXPECT_EQ(any->Port(), 0);
        any->Follow(loopback);
        fixed.emplace(loop, any->Port(), false, handler);
        fixed->Follow(loopback);
        flexible.emplace(loop, any->Port(), true, handler);
        flexible->Follow(loopback);
    });
    const uint16_t port = any->Port();
    EXPECT_EQ(any->Problem() + flexible->Problem(), "");
    EXPECT_THAT(fixed->Problem(), HasSubstr("port " + std::to_string(port) + " of lo: "));
    EXPECT_NE(flexible->Port(), port);

    EXPECT_TRUE(Connects("127.0.0.1", port) && taken.Reaches(1) && Connects("::1", port) && taken.Reaches(2) &&
        Connects("127.0.0.1", flexible->Port()) && taken.Reaches(3));
    EXPECT_THAT(taken.All(), ElementsAre("127.0.0.1 lo", "::1 lo", "127.0.0.1 lo"));

    loop.Run([&] { any->Follow({}); });
    EXPECT_FALSE(Connects("127.0.0.1", port));
    loop.Run([&] {
        any.reset();
        fixed.reset();
        flexible.reset();
    });
}

// The device's bus stands for the system's.
class WakeUp : public BusTest {
protected:
    WakeUp() { setenv("DBUS_SYSTEM_BUS_ADDRESS", device.bus.GetAddress().c_str(), 1); }
    ~WakeUp() override { unsetenv("DBUS_SYSTEM_BUS_ADDRESS"); }
};

TEST_F(WakeUp, IsHeardFromLogindOnceAndTheEndOfTheBusIsBorne) {
    sd_bus* raw = nullptr;
    ASSERT_GE(sd_bus_open_system(&raw), 0);
    const BusHandle logind(raw);
    ASSERT_GE(sd_bus_request_name(raw, "org.freedesktop.login1", 0), 0);
    std::atomic<int> signals = 0;
    std::atomic<int> wakes = 0;
    EventLoop loop("test-net");
    std::optional<LogindWatch> signalWatch;
    std::optional<WakeWatch> wakeWatch;
    loop.Run([&] {
        signalWatch.emplace(loop, [&] { ++signals; });
        wakeWatch.emplace(loop, [&] { ++wakes; });
    });

    int sent = 0;
    EXPECT_TRUE(Eventually([&] {
        ++sent;
        for (const int isGoingToSleep : {1, 1, 1, 1, 0}) {
            sd_bus_emit_signal(raw, "/org/freedesktop/login1", "org.freedesktop.login1.Manager", "PrepareForSleep", "b",
                isGoingToSleep);
        }
        return sd_bus_flush(raw) >= 0 && signals > 0 && wakes > 0;
    }));
    device.bus.Stop();
    EXPECT_TRUE(loop.Run([&] {
        signalWatch.reset();
        wakeWatch.reset();
    }));
    EXPECT_LE(signals, sent);
    EXPECT_EQ(wakes, 1);
}

}  // namespace
}  // namespace ZYNE::Linux
