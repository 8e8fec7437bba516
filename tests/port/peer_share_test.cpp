// What one peer may take of a device.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "linux/network/control/control_message.h"
#include "linux/network/control/request_gate.h"
#include "linux/network/presence/peer_shares.h"
#include "linux/network/presence/peer_table.h"

namespace ZYNE::Linux {
namespace {

using namespace std::chrono_literals;
using Place = RequestGate::Place;

ControlMessage RequestOf(int32_t session, size_t bytes = 1) {
    ControlMessage request;
    request.session = session;
    request.service.commandProp.assign(bytes, 'x');
    return request;
}

TEST(RequestGate, LetsSoManyBeUnderWayHasOthersWaitInOrderUpToSoManyBytesAndRefusesTheRest) {
    RequestGate gate;
    const auto enter = [&](const std::string& device, int32_t session, size_t bytes = 1) {
        ControlMessage request = RequestOf(session, bytes);
        const Place place = gate.Enter(device, request);
        EXPECT_TRUE(place != Place::REFUSED || request.service.commandProp.size() == bytes);
        return place;
    };
    int32_t session = 0;
    for (size_t i = 0; i < RequestGate::MAX_UNDER_WAY; ++i) {
        EXPECT_EQ(enter("noisy", ++session), Place::UNDER_WAY);
    }
    for (size_t i = 0; i < RequestGate::MAX_WAITING; ++i) {
        EXPECT_EQ(enter("noisy", ++session), Place::WAITING);
    }
    EXPECT_EQ(enter("noisy", ++session), Place::REFUSED);
    EXPECT_EQ(enter("quiet", 1), Place::UNDER_WAY);

    EXPECT_EQ(gate.Leave("noisy")->session, static_cast<int32_t>(RequestGate::MAX_UNDER_WAY) + 1);
    EXPECT_EQ(enter("noisy", ++session), Place::WAITING);
    EXPECT_EQ(enter("noisy", ++session), Place::REFUSED);
    gate.Forget("noisy");
    EXPECT_EQ(enter("noisy", ++session), Place::UNDER_WAY);
    EXPECT_EQ(gate.Leave("quiet"), std::nullopt);
    EXPECT_EQ(gate.Leave("quiet"), std::nullopt);

    for (size_t i = 0; i < RequestGate::MAX_UNDER_WAY; ++i) {
        enter("desk", 1);
    }
    EXPECT_EQ(enter("desk", 2, RequestGate::MAX_WAITING_BYTES), Place::WAITING);
    EXPECT_EQ(enter("desk", 3), Place::REFUSED);
    EXPECT_EQ(gate.Leave("desk")->session, 2);
    EXPECT_EQ(enter("desk", 3), Place::WAITING);
}

TEST(PeerShares, LeaveAPeerAloneForAMinuteThatIsOverItsShareForLong) {
    PeerShares::Clock::time_point now{1h};
    PeerShares shares([&] { return now; });
    const auto flood = [&](std::chrono::milliseconds time) {
        bool isTooMuch = false;
        for (const auto end = now + time; now < end; now += 5ms) {
            isTooMuch = shares.OnExcess("noisy") || isTooMuch;
        }
        return isTooMuch;
    };
    EXPECT_FALSE(flood(4s));
    now += 10s;
    EXPECT_FALSE(flood(4s));
    EXPECT_FALSE(shares.IsLeftAlone("noisy"));
    EXPECT_TRUE(flood(6s));
    EXPECT_TRUE(shares.IsLeftAlone("noisy"));
    EXPECT_FALSE(shares.IsLeftAlone("quiet"));
    now += PeerShares::ALONE;
    EXPECT_FALSE(shares.IsLeftAlone("noisy"));

    bool isLeftAlone = false;
    for (int i = 0; i < 10; ++i, now += 1s) {
        isLeftAlone = shares.OnNewLink("flicker") || isLeftAlone;
    }
    EXPECT_FALSE(isLeftAlone);
    for (int i = 0; i < 40; ++i, now += 1s) {
        isLeftAlone = shares.OnNewLink("flicker") || isLeftAlone;
    }
    EXPECT_TRUE(isLeftAlone);
}

TEST(PeerTable, KnowsWhoseANetworkIdIsOfSoManyRunsWhateverOthersDo) {
    PeerTable table;
    const auto put = [&](const std::string& udid, const std::string& networkId) {
        table.Put(std::make_shared<const Peer>(Peer{{udid, networkId, "", 0, 0}, SCREEN_UNKNOWN, nullptr}));
    };
    put("desk", "run0");
    for (size_t run = 0; run < 10000; ++run) {
        put("noisy", "n" + std::to_string(run));
    }
    EXPECT_EQ(table.UdidOf("run0"), "desk");
    EXPECT_EQ(table.UdidOf("n9999"), "noisy");
    EXPECT_EQ(table.UdidOf("n" + std::to_string(10000 - PeerTable::MAX_RUNS)), "noisy");
    EXPECT_EQ(table.UdidOf("n" + std::to_string(9999 - PeerTable::MAX_RUNS)), "");
    for (size_t peer = 0; table.MayPut("p" + std::to_string(peer)); ++peer) {
        put("p" + std::to_string(peer), "r" + std::to_string(peer));
    }
    EXPECT_EQ(table.All().size(), PeerTable::MAX_PEERS);
    EXPECT_TRUE(table.MayPut("desk"));
}

TEST(ControlMessages, ArriveAsTheyWereSentAndNotBeyondTheirBounds) {
    ControlMessage request = RequestOf(7, MAX_REQUEST_BYTES);
    request.callerString = "me";
    request.service.collaborationIdStr = "00000000007-me";
    request.service.priority = -1;
    const auto bytes = WriteControlMessage(request);
    ASSERT_TRUE(bytes);
    const auto read = ReadControlMessage(*bytes);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->session, 7);
    EXPECT_EQ(read->callerString, "me");
    EXPECT_EQ(read->service.collaborationIdStr, "00000000007-me");
    EXPECT_EQ(read->service.priority, -1);
    EXPECT_EQ(read->service.commandProp, request.service.commandProp);

    request.service.commandProp += 'x';
    EXPECT_FALSE(WriteControlMessage(request));
    request = RequestOf(7);
    request.callerString = std::string("a\0b", 3);
    EXPECT_FALSE(WriteControlMessage(request));
    EXPECT_FALSE(WriteControlMessage(RequestOf(0)));
    EXPECT_FALSE(ReadControlMessage(""));
    EXPECT_FALSE(ReadControlMessage(bytes->substr(0, bytes->size() - 1)));
}

}  // namespace
}  // namespace ZYNE::Linux
