// Pairs of devices that do not hear each other for a time, side by side.
#include <csignal>

#include "tests/network/network_lab.h"

namespace ZYNE::Testing {
namespace {

// By this time of an outage the peer is missed.
constexpr milliseconds NOTICED{2500};

struct Outage {
    milliseconds time;
    Pair pair;
    Machine* paused = nullptr;
};

class Outages : public NetworkLab {
protected:
    void AddOutage(milliseconds time, const std::string& kind = {}) {
        outages.push_back({time, AddPair("for-" + std::to_string(time.count()) + kind)});
    }

    static Clock::time_point Deadline(const Outage& outage, Clock::time_point healed) {
        return healed + (outage.time > seconds(5) ? seconds(5) : seconds(2));
    }

    std::vector<Outage> outages;
};

// The parameter says which way.
class Cuts : public Outages, public ::testing::WithParamInterface<const char*> {
protected:
    void Suffer(const Outage& outage) {
        const Pair& pair = outage.pair;
        const auto start = Clock::now();
        const auto healed = start + outage.time;
        const std::string way = GetParam();
        if (way != "ToTheLarger") {
            Switch().Cut(pair.larger->port, pair.smaller->port, healed);
        }
        if (way != "ToTheSmaller") {
            Switch().Cut(pair.smaller->port, pair.larger->port, healed);
        }
        if (outage.time > NOTICED) {
            EXPECT_TRUE(Until(start + NOTICED, [&] { return MissEachOther(pair); })) << outage.time.count();
        }
        PutValues(pair, "cut");
        std::this_thread::sleep_until(healed);
        ExpectWhole(pair, "cut", Deadline(outage, healed));
    }
};

TEST_P(Cuts, PartBothOfAPairAndLeaveItWholeSoonAfterwards) {
    for (const int time : {500, 1000, 3000, 10000, 30000}) {
        AddOutage(milliseconds(time));
    }
    StartPairs();
    ForAll(outages, [this](const Outage& outage) { Suffer(outage); });
}

INSTANTIATE_TEST_SUITE_P(Network, Cuts, ::testing::Values("ToTheSmaller", "ToTheLarger", "BothWays"),
    [](const auto& row) { return std::string(row.param); });

class Pauses : public Outages {
protected:
    static void Suffer(const Outage& outage) {
        const Pair& pair = outage.pair;
        const Machine& peer = outage.paused == pair.smaller ? *pair.larger : *pair.smaller;
        const auto start = Clock::now();
        PutValue(*outage.paused, "pause");
        outage.paused->device->Signal(SIGSTOP);
        PutValue(peer, "pause");
        if (outage.time > NOTICED) {
            EXPECT_TRUE(Until(start + NOTICED, [&] { return peer.device->MissesPeer(outage.paused->device->Name()); }));
        }
        std::this_thread::sleep_until(start + outage.time);
        outage.paused->device->Signal(SIGCONT);
        ExpectWhole(pair, "pause", Deadline(outage, Clock::now()));
        if (outage.time < seconds(1)) {
            EXPECT_EQ(TimesOffline(pair), 0u);
        }
    }
};

TEST_F(Pauses, OfEitherDeviceLeaveAPairWholeSoonAfterwardsAndShortOnesAreNotNoticed) {
    for (const int time : {500, 3000, 30000}) {
        AddOutage(milliseconds(time), "-smaller");
        outages.back().paused = outages.back().pair.smaller;
        AddOutage(milliseconds(time), "-larger");
        outages.back().paused = outages.back().pair.larger;
    }
    StartPairs();
    ForAll(outages, [](const Outage& outage) { Suffer(outage); });
}

}  // namespace
}  // namespace ZYNE::Testing
