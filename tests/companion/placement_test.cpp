#include "companion/core/placement.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace ZYNE::Companion {
namespace {

using testing::Optional;

const Placement RIGHT{"3f2a", Side::RIGHT, "HDMI-1", {0, 50}, "eDP-1", {25, 100}};

TEST(Placement, IsMirroredForThePeerAndBack) {
    const Placement mirrored = Mirror(RIGHT, "me");
    EXPECT_EQ(mirrored, (Placement{"me", Side::LEFT, "eDP-1", {25, 100}, "HDMI-1", {0, 50}}));
    EXPECT_EQ(Mirror(mirrored, "3f2a"), RIGHT);
}

TEST(Placement, ContradictsAnotherAtTheSameStretchOnly) {
    const auto other = [](auto change) {
        Placement placement = RIGHT;
        placement.peer = "other";
        change(placement);
        return Contradict(RIGHT, placement) && Contradict(placement, RIGHT);
    };
    EXPECT_TRUE(other([](Placement&) {}));
    EXPECT_TRUE(other([](Placement& placement) { placement.part = {49, 100}; }));
    EXPECT_FALSE(other([](Placement& placement) { placement.part = {50, 100}; }));
    EXPECT_FALSE(other([](Placement& placement) { placement.side = Side::TOP; }));
    EXPECT_FALSE(other([](Placement& placement) { placement.display = ""; }));
    EXPECT_FALSE(Contradict(RIGHT, RIGHT)) << "the same twice";
}

TEST(Placement, IsTheSameAfterItWasWritten) {
    std::vector<Placement> placements{RIGHT, {"b", Side::LEFT, "", {}, "", {}}, {"c", Side::TOP, "", {}, "", {}},
        {"d", Side::BOTTOM, "", {12.5, 33.25}, "", {}}};
    EXPECT_THAT(ReadPlacements(WritePlacements(placements)), Optional(placements));
    EXPECT_THAT(ReadPlacements(R"([{"peer": "b", "side": "left"}])"), Optional(std::vector{placements[1]}));
    placements.resize(65, placements[1]);
    EXPECT_EQ(ReadPlacements(WritePlacements(placements)), std::nullopt) << "too many";
}

TEST(Placement, IsNotReadFromWhatIsNone) {
    for (const char* text : {"", "{}", "[1]", "[{}]", R"([{"peer":"b"}])", R"([{"peer":"","side":"left"}])",
             R"([{"peer":"b","side":"up"}])", R"([{"peer":"b","side":1}])", R"([{"peer":7,"side":"left"}])",
             R"([{"peer":"b","side":"left","part":[0]}])", R"([{"peer":"b","side":"left","part":[50,50]}])",
             R"([{"peer":"b","side":"left","part":[-1,50]}])", R"([{"peer":"b","side":"left","part":[0,100.5]}])",
             R"([{"peer":"b","side":"left","peerPart":["0","9"]}])", R"([{"peer":"b","side":"left","display":{}}])",
             R"([{"peer":"b","side":"left"}] x)", R"([{"peer":"b","side":"left","part":[0,1e999]}])",
             "[[[[[[[[[[[[[[[[[[[[[[[[]]]]]]]]]]]]]]]]]]]]]]]]"}) {
        EXPECT_EQ(ReadPlacements(text), std::nullopt) << text;
    }
    EXPECT_EQ(ReadPlacements(R"([{"side":"left","peer":")" + std::string(65, 'b') + R"("}])"), std::nullopt);
    EXPECT_EQ(ReadPlacements("[" + std::string(65536, ' ') + "]"), std::nullopt) << "too long";
}

}  // namespace
}  // namespace ZYNE::Companion
