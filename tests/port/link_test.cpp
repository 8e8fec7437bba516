// Links between devices: who gets one, which one stays, and what strangers learn.
#include <poll.h>

#include <array>
#include <optional>

#include "linux/network/link_rules.h"
#include "tests/port/played_device.h"

namespace ZYNE::Linux {
namespace {

using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::Not;

const std::string SMALL(64, 'a');
const std::string GREAT(64, 'b');

struct Choice {
    const char* name;
    std::optional<HeldLink> held;
    PeerRun newcomer;
    LinkChoice decided;
    LinkChoice told;
};

void PrintTo(const Choice& row, std::ostream* out) {
    *out << row.name;
}

class ChoosingALink : public ::testing::TestWithParam<Choice> {};

TEST_P(ChoosingALink, FollowsTheRules) {
    const Choice& choice = GetParam();
    const HeldLink* held = choice.held ? &*choice.held : nullptr;
    EXPECT_EQ(ChooseLink(held, choice.newcomer), choice.decided);
    EXPECT_EQ(ChooseWhenTold(held, choice.newcomer), choice.told);
}

INSTANTIATE_TEST_SUITE_P(Rules, ChoosingALink,
    ::testing::Values(Choice{"none yet", {}, {"r", 1ms, false, 0}, LinkChoice::TAKE, LinkChoice::TAKE},
        Choice{
            "both opened one", HeldLink{"r", 1ms, 5, false}, {"r", 1ms, false, 5}, LinkChoice::KEEP, LinkChoice::TAKE},
        Choice{"it has not heard of ours yet", HeldLink{"r", 1ms, 5, true}, {"r", 1ms, false, 4}, LinkChoice::KEEP,
            LinkChoice::TAKE},
        Choice{
            "it has lost ours", HeldLink{"r", 1ms, 5, true}, {"r", 1ms, false, 5}, LinkChoice::TAKE, LinkChoice::TAKE},
        Choice{"it has ours", HeldLink{"r", 1ms, 5, true}, {"r", 1ms, true, 5}, LinkChoice::KEEP, LinkChoice::TAKE},
        Choice{"a younger run", HeldLink{"r", 9ms, 5, true}, {"s", 8ms, false, 0}, LinkChoice::KEEP_ELDER,
            LinkChoice::KEEP_ELDER},
        Choice{"an elder run", HeldLink{"r", 8ms, 5, true}, {"s", 9ms, false, 0}, LinkChoice::TAKE_ELDER,
            LinkChoice::TAKE_ELDER}));

class LinkTest : public PortTest {
protected:
    static bool AreLinked(PlayedDevice& one, PlayedDevice& other) {
        return Eventually([&] { return one.HasLink(other.identity.udid) && other.HasLink(one.identity.udid); });
    }
    // The credentials of a new device of the account.
    fs::path Enroll(const std::string& account, const std::string& udid) const {
        if (!fs::exists(directory / account)) {
            CreateAccount(directory / account, account);
        }
        const fs::path credentials = directory / (account + '-' + udid);
        EnrollDevice(directory / account, credentials, udid);
        return credentials;
    }
};

TEST_F(LinkTest, IsOneHoweverManyConnectionsAreOpenedAtOnce) {
    PlayedDevice one(OpenIdentity(SMALL, "home"));
    PlayedDevice other(OpenIdentity(GREAT, "home"));
    for (int i = 0; i < 5; ++i) {
        one.Dial(other.Port());
        other.Dial(one.Port());
    }
    ASSERT_TRUE(AreLinked(one, other));
    // As soon as all are decided on there is still the first.
    const auto count = [](PlayedDevice& device, const std::string& what) {
        const auto all = device.told.All();
        return std::ranges::count_if(all, [&](const std::string& each) { return each.starts_with(what); });
    };
    EXPECT_TRUE(Eventually([&] { return count(one, "dialled") == 5 && count(other, "dialled") == 5; }));
    EXPECT_EQ(count(one, "up") - count(one, "down"), 1);
    EXPECT_EQ(count(one, "down"), 0);
    EXPECT_EQ(count(other, "down"), 0);
}

TEST_F(LinkTest, CarriesFactsAndMessagesSmallOnesBeforeLargeOnes) {
    PlayedDevice one(OpenIdentity(SMALL, "home"));
    PlayedDevice other(OpenIdentity(GREAT, "home"));
    Told<size_t> sizes;
    other.onMessage = [&](Stream, std::string_view message) {
        sizes.Add(message.size());
        return true;
    };
    one.SetFacts({"phone", 1, 10, 1});
    one.Dial(other.Port());
    ASSERT_TRUE(AreLinked(one, other));
    one.SetFacts({"phone", 1, 10, 2});
    const size_t most = MostBytes(Stream::PROFILE);
    // While the loop of the sender does this, nothing but the first bytes of the large one can go.
    one.Do([&] {
        const LinkPtr link = one.links.FindLink(GREAT);
        EXPECT_TRUE(link->Send(Stream::PROFILE, std::string(most, 'x')));
        EXPECT_TRUE(link->Send(Stream::PROFILE, std::string(10, 'x')));
        EXPECT_TRUE(link->Send(Stream::CONTROL, std::string(20, 'x')));
        EXPECT_FALSE(link->Send(Stream::PROFILE, std::string(most + 1, 'x')));
    });
    EXPECT_TRUE(sizes.Reaches(3));
    EXPECT_THAT(sizes.All(), ElementsAre(10, 20, most));
    EXPECT_TRUE(other.told.Reaches(3));
    EXPECT_THAT(other.told.All(), ElementsAre("up", "facts phone 1", "facts phone 2"));
}

TEST_F(LinkTest, EndsForBothWhenOneLeavesOrSaysWhatIsNoMessage) {
    PlayedDevice one(OpenIdentity(SMALL, "home"));
    PlayedDevice other(OpenIdentity(GREAT, "home"));
    one.Dial(other.Port());
    ASSERT_TRUE(AreLinked(one, other));
    other.onMessage = [](Stream, std::string_view) {
        return false;
    };
    EXPECT_TRUE(one.Sends(GREAT, Stream::PROFILE, "rubbish"));
    EXPECT_TRUE(Eventually([&] { return !one.HasLink(GREAT) && !other.HasLink(SMALL); }));
    EXPECT_THAT(other.told.All(), Contains("note refused"));

    one.Dial(other.Port());
    ASSERT_TRUE(AreLinked(one, other));
    one.Do([&] { one.links.Leave(); });
    EXPECT_TRUE(Eventually([&] { return !other.HasLink(SMALL); }));
}

TEST_F(LinkTest, IsNotGivenToAnotherAccountOrARevokedDevice) {
    PlayedDevice home(AccountIdentity(Enroll("home", SMALL)));
    // Knows the meeting key, as a device that was once of the account does, but has another authority.
    LinkIdentity forged = AccountIdentity(Enroll("elsewhere", GREAT));
    forged.key = home.identity.key;
    PlayedDevice forger(forged);
    forger.Dial(home.Port());
    home.Dial(forger.Port());
    EXPECT_TRUE(forger.told.Reaches(1));
    EXPECT_TRUE(home.told.Reaches(2));
    EXPECT_THAT(home.told.All(), Not(Contains("up")));

    PlayedDevice revoked(AccountIdentity(Enroll("home", GREAT)));
    home.check = [](const std::string& udid) {
        return udid == GREAT ? LinkRefusal::REVOKED : LinkRefusal::NONE;
    };
    revoked.Dial(home.Port());
    EXPECT_THAT(revoked.told.Until("dialled " + std::to_string(static_cast<int>(LinkRefusal::REVOKED))),
        Contains("note revoked"));
    EXPECT_FALSE(home.HasLink(GREAT));
}

TEST_F(LinkTest, OfTwoDevicesWithOneIdentityStaysWithTheElderUntilThatLeaves) {
    PlayedDevice home(OpenIdentity(SMALL, "home"));
    std::optional<PlayedDevice> elder(std::in_place, OpenIdentity(GREAT, "home"));
    elder->Dial(home.Port());
    ASSERT_TRUE(AreLinked(home, *elder));
    PlayedDevice clone(OpenIdentity(GREAT, "home"));
    // At first it might be the same device, restarted.
    EXPECT_TRUE(Eventually([&] {
        clone.Dial(home.Port());
        const auto told = elder->told.All();
        return std::ranges::find(told, "note clone") != told.end();
    }));
    EXPECT_THAT(home.told.All(), Contains("note clone"));
    EXPECT_TRUE(Eventually([&] {
        const auto told = clone.told.All();
        return std::ranges::find(told, "note clone") != told.end();
    }));
    EXPECT_THAT(clone.told.All(), Not(Contains("up")));
    EXPECT_TRUE(home.HasLink(GREAT));
    clone.Dial(elder->Port());
    EXPECT_TRUE(Eventually([&] {
        const auto told = elder->told.All();
        return std::ranges::count(told, "note clone") > 1;
    }));

    elder.reset();
    EXPECT_TRUE(Eventually([&] {
        clone.Dial(home.Port());
        return home.HasLink(GREAT) && clone.HasLink(SMALL);
    }));
}

// Reads until the other end closes.
std::string ReadToEnd(int descriptor) {
    std::string all;
    std::array<char, 4096> buffer{};
    pollfd ready{descriptor, POLLIN, 0};
    while (poll(&ready, 1, 30000) == 1) {
        const ssize_t count = recv(descriptor, buffer.data(), buffer.size(), 0);
        if (count <= 0) {
            return all;
        }
        all.append(buffer.data(), static_cast<size_t>(count));
    }
    return all + "not closed";
}

TEST_F(LinkTest, ShowsAStrangerNothingButNoise) {
    PlayedDevice home(AccountIdentity(Enroll("home", SMALL)));
    // The beginning of TLS with a proof that is none.
    const UniqueFd stranger = ConnectTo(home.Port());
    const std::string hello = std::string(32, 'p') + std::string("\x16\x03\x01\x00\x10", 5) + std::string(16, 'h');
    EXPECT_TRUE(Eventually([&] { return send(stranger.Get(), hello.data(), hello.size(), MSG_NOSIGNAL) > 0; }));
    const std::string answer = ReadToEnd(stranger.Get());
    EXPECT_EQ(answer.size(), 32U);
    // Each gets another.
    const UniqueFd second = ConnectTo(home.Port());
    EXPECT_TRUE(Eventually([&] { return send(second.Get(), hello.data(), hello.size(), MSG_NOSIGNAL) > 0; }));
    EXPECT_NE(ReadToEnd(second.Get()), answer);
}

TEST_F(LinkTest, IsGivenToADeviceWhileHalfOpenConnectionsComeByTheHundred) {
    PlayedDevice home(OpenIdentity(SMALL, "home"));
    std::vector<UniqueFd> halfOpen;
    for (size_t i = 0; i < 3 * Links::MOST_AT_THE_GATE; ++i) {
        halfOpen.push_back(ConnectTo(home.Port()));
    }
    PlayedDevice other(OpenIdentity(GREAT, "home"));
    other.Dial(home.Port());
    EXPECT_TRUE(AreLinked(home, other));
}

}  // namespace
}  // namespace ZYNE::Linux
