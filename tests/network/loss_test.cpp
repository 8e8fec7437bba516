// Pairs of devices whose network loses frames.
#include <algorithm>
#include <array>
#include <iostream>
#include <random>

#include "tests/network/network_lab.h"

namespace ZYNE::Testing {
namespace {

constexpr milliseconds ONE_WAY{25};

class Losses : public NetworkLab {
protected:
    struct Busy {
        int lateValues = 0;
        int unanswered = 0;
    };

    // Until then values change, four times a second, and now and then the two ask each other: seldom enough that all of
    // it is logged.
    static Busy KeepBusy(const Pair& pair, Clock::time_point end) {
        constexpr int ROUNDS_OF_QUESTION = 8;
        Busy busy;
        for (int round = 0; Clock::now() < end; ++round) {
            const auto next = Clock::now() + milliseconds(250);
            PutValues(pair, std::to_string(round));
            busy.lateValues += Until(next + seconds(2), [&] { return AreEqual(pair, std::to_string(round)); }) ? 0 : 1;
            if (round % ROUNDS_OF_QUESTION == 0) {
                busy.unanswered += AnswerEachOther(pair) ? 0 : 1;
            }
            std::this_thread::sleep_until(next);
        }
        return busy;
    }
};

TEST_F(Losses, OfFivePercentPartNobodyAndOfTwentyLeaveAPairWholeSoonAfterwards) {
    constexpr seconds TIME{10};
    const Pair five = AddPair("five");
    const Pair twenty = AddPair("twenty");
    const std::vector<Pair> pairs{five, twenty};
    StartPairs();
    SetWays(five, {.delay = ONE_WAY, .loss = 5, .duplicates = 5, .late = 5});
    SetWays(twenty, {.delay = ONE_WAY, .loss = 20, .duplicates = 5, .late = 5});
    ForAll(pairs, [&](const Pair& pair) {
        const Busy busy = KeepBusy(pair, Clock::now() + TIME);
        SetWays(pair, {});
        PutValues(pair, "lost");
        ExpectWhole(pair, "lost", Clock::now() + seconds(2));
        std::cout << pair.smaller->device->Name() << ": " << busy.lateValues << " values late, " << busy.unanswered
                  << " questions unanswered, " << TimesOffline(pair) << " times offline\n";
        if (pair.smaller == five.smaller) {
            EXPECT_EQ(busy.lateValues + busy.unanswered, 0);
            EXPECT_EQ(TimesOffline(pair), 0u);
        }
    });
    const Troubles troubles = Switch().CountTroubles();
    EXPECT_GT(std::min({troubles.lost, troubles.repeated, troubles.late}), 20u);
}

// Which cannot be made much shorter.
std::string RandomText(size_t size) {
    std::minstd_rand random;
    std::string text(size, ' ');
    std::ranges::generate(text, [&] { return static_cast<char>('0' + random() % 64); });
    return text;
}

// The parameter is the share of frames that are lost, in percent.
class LargeValues : public NetworkLab, public ::testing::WithParamInterface<int> {
protected:
    static constexpr size_t LARGE_BYTES = size_t{1} << 20;
    static constexpr seconds PATIENCE{30};

    struct Times {
        milliseconds large;
        milliseconds small;
    };

    static void Put(const Machine& owner, const std::string& key, const std::string& value) {
        EXPECT_EQ(owner.device->Api().Profiles().Put("network", "test", key, value), 0);
    }

    // From before the put of each until it is known at the peer.
    static Times Measure(const Pair& pair, const std::string& round) {
        auto isKnown = [api = pair.larger->device->Api(), &pair](const std::string& key) mutable {
            return api.Profiles().Get(pair.smaller->device->Name(), "network", "test", key).has_value();
        };
        Times times{};
        const auto start = Clock::now();
        Put(*pair.smaller, "large" + round, RandomText(LARGE_BYTES));
        const auto smallStart = Clock::now();
        Put(*pair.smaller, "small" + round, "x");
        EXPECT_TRUE(Until(start + PATIENCE, [&] {
            if (times.small.count() == 0 && isKnown("small" + round)) {
                times.small = std::chrono::ceil<milliseconds>(Clock::now() - smallStart);
            }
            return times.small.count() != 0 && isKnown("large" + round);
        }));
        times.large = std::chrono::ceil<milliseconds>(Clock::now() - start);
        std::cout << "large value " << times.large.count() << " ms, small value beside it " << times.small.count()
                  << " ms\n";
        return times;
    }
};

TEST_P(LargeValues, ArriveInTimeAndDoNotHoldUpSmallOnes) {
    const Pair pair = AddPair("pair");
    StartPairs();
    SetWays(pair, {.delay = ONE_WAY, .loss = static_cast<double>(GetParam())});
    std::array<Times, 5> times{};
    for (Times& each : times) {
        each = Measure(pair, std::to_string(&each - times.data()));
    }
    constexpr size_t MIDDLE = times.size() / 2;
    std::ranges::nth_element(times, times.begin() + MIDDLE, {}, &Times::large);
    EXPECT_LT(times.at(MIDDLE).large, milliseconds(GetParam() == 2 ? 3000 : 6000));
    std::ranges::nth_element(times, times.begin() + MIDDLE, {}, &Times::small);
    EXPECT_LT(times.at(MIDDLE).small, milliseconds(500));
    EXPECT_GE(times.at(MIDDLE).small, ONE_WAY);
}

INSTANTIATE_TEST_SUITE_P(Network, LargeValues, ::testing::Values(2, 5),
    [](const auto& row) { return "AtPercent" + std::to_string(row.param); });

}  // namespace
}  // namespace ZYNE::Testing
