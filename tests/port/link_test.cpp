// Links between devices: who gets one, which one stays, and what strangers learn.
#include <poll.h>

#include <algorithm>
#include <array>
#include <optional>
#include <set>

#include "linux/network/link/link_rules.h"
#include "tests/port/played_device.h"

namespace ZYNE::Linux {
namespace {

using namespace std::chrono_literals;
using ::testing::Contains;

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

class LinkTest : public ::testing::Test {
protected:
    bool AreLinked() {
        return Eventually([&] { return one.HasLink(GREAT) && other.HasLink(SMALL); });
    }

    PlayedDevice one{OpenIdentity(SMALL, "home")};
    PlayedDevice other{OpenIdentity(GREAT, "home")};
};

TEST_F(LinkTest, IsOneHoweverManyConnectionsAreOpenedAtOnce) {
    for (int i = 0; i < 5; ++i) {
        one.Dial(other.Port());
        other.Dial(one.Port());
    }
    ASSERT_TRUE(AreLinked());
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
    Told<size_t> sizes;
    other.onMessage = [&](Stream, std::string_view message) {
        sizes.Add(message.size());
        return true;
    };
    one.SetFacts({"phone", 1, 10, 1});
    one.Dial(other.Port());
    ASSERT_TRUE(AreLinked());
    one.SetFacts({"phone", 1, 10, 2});
    const size_t most = MaxBytes(Stream::PROFILE);
    // While the loop of the sender does this, nothing but the first bytes of the large one can go.
    one.Do([&] {
        const LinkPtr link = one.links.FindLink(GREAT);
        EXPECT_TRUE(link->Send(Stream::PROFILE, std::string(most, 'x')));
        EXPECT_TRUE(link->Send(Stream::BULK, std::string(30, 'x')));
        EXPECT_TRUE(link->Send(Stream::PROFILE, std::string(10, 'x')));
        EXPECT_TRUE(link->Send(Stream::CONTROL, std::string(20, 'x')));
        EXPECT_FALSE(link->Send(Stream::PROFILE, std::string(most + 1, 'x')));
    });
    EXPECT_TRUE(sizes.Reaches(4));
    EXPECT_THAT(sizes.All(), ElementsAre(10, 20, most, 30)) << "bulk is the last, small as it is";
    EXPECT_TRUE(other.told.Reaches(3));
    EXPECT_THAT(other.told.All(), ElementsAre("up", "facts phone 1", "facts phone 2"));
}

TEST_F(LinkTest, EndsForBothWhenOneLeavesOrSaysWhatIsNoMessage) {
    one.Dial(other.Port());
    ASSERT_TRUE(AreLinked());
    other.onMessage = [](Stream, std::string_view) {
        return false;
    };
    EXPECT_TRUE(one.Sends(GREAT, Stream::PROFILE, "rubbish"));
    EXPECT_TRUE(Eventually([&] { return !one.HasLink(GREAT) && !other.HasLink(SMALL); }));
    EXPECT_THAT(other.told.All(), Contains("note refused"));

    one.Dial(other.Port());
    ASSERT_TRUE(AreLinked());
    one.Do([&] { one.links.Leave(); });
    EXPECT_TRUE(Eventually([&] { return !other.HasLink(SMALL); }));
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

TEST_F(LinkTest, IsGivenToADeviceWhileHalfOpenConnectionsComeByTheHundred) {
    std::vector<UniqueFd> halfOpen;
    for (size_t i = 0; i < 3 * Links::MAX_AT_THE_GATE; ++i) {
        halfOpen.push_back(ConnectTo(one.Port()));
    }
    other.Dial(one.Port());
    EXPECT_TRUE(AreLinked());
}

TEST_F(LinkTest, ShowsAStrangerNothingButNoise) {
    // The beginning of TLS with a proof that is none.
    const std::string hello = std::string(32, 'p') + std::string("\x16\x03\x01\x00\x10", 5) + std::string(16, 'h');
    std::set<std::string> answers;
    for (int i = 0; i < 2; ++i) {
        const UniqueFd stranger = ConnectTo(one.Port());
        EXPECT_TRUE(Eventually([&] { return send(stranger.Get(), hello.data(), hello.size(), MSG_NOSIGNAL) > 0; }));
        answers.insert(ReadToEnd(stranger.Get()));
        EXPECT_EQ(answers.begin()->size(), 32U);
    }
    EXPECT_EQ(answers.size(), 2U) << "each gets another";
}

}  // namespace
}  // namespace ZYNE::Linux
