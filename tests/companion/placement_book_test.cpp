#include "companion/placements/placement_book.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace ZYNE::Companion {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

Placement To(const std::string& peer, Side side) {
    return {peer, side, "", {}, "", {}};
}

class Book : public testing::Test {
protected:
    void Hold(const std::string& owner, const std::string& id, const Placement& placement) {
        book.Add(owner, PLACEMENT_KEY + id, WritePlacements({placement}));
    }
    // The device and the id of the placement that is in the way.
    std::string Conflict(
        const std::string& owner, const Placement& placement, const std::set<std::string>& instead = {}) {
        const auto held = book.FindConflict(owner, placement, instead);
        return held ? held->owner + " " + held->id : "";
    }

    PlacementBook book;
};

TEST_F(Book, HoldsForBothDevicesUntilEitherTakesItBack) {
    Hold("phone", "1", To("pc", Side::RIGHT));
    EXPECT_THAT(book.Of("phone"), ElementsAre(To("pc", Side::RIGHT)));
    EXPECT_THAT(book.Of("pc"), ElementsAre(To("phone", Side::LEFT)));
    EXPECT_THAT(book.Of("tv"), IsEmpty());

    book.Add("tv", REMOVED_KEY + std::string("1"), "1");  // it is none of its business
    EXPECT_THAT(book.Of("phone"), ElementsAre(To("pc", Side::RIGHT)));
    book.Add("pc", REMOVED_KEY + std::string("1"), "1");
    book.Add("pc", REMOVED_KEY + std::string("9"), "1");
    EXPECT_THAT(book.All(), IsEmpty());
    EXPECT_THAT(book.StaleMarks("pc"), ElementsAre("9"));
}

TEST_F(Book, SaysWhoIsInTheWayOnEitherDevice) {
    Hold("phone", "1", To("pc", Side::RIGHT));
    EXPECT_EQ(Conflict("phone", To("tv", Side::RIGHT)), "phone 1") << "the same side here";
    EXPECT_EQ(Conflict("tv", To("pc", Side::RIGHT)), "phone 1") << "the same side of the peer";
    EXPECT_EQ(Conflict("pc", To("phone", Side::RIGHT)), "phone 1") << "another side of the same two";
    EXPECT_EQ(Conflict("pc", To("phone", Side::LEFT)), "") << "what holds already";
    EXPECT_EQ(Conflict("phone", To("tv", Side::LEFT)), "");
    EXPECT_EQ(Conflict("phone", To("tv", Side::RIGHT), {"1"}), "") << "it takes its place";
}

TEST_F(Book, LetsOneOfTwoHoldThatWereMadeApart) {
    Hold("pc", "2", To("tv", Side::LEFT));
    Hold("phone", "1", To("pc", Side::RIGHT));
    EXPECT_THAT(book.Of("pc"), ElementsAre(To("phone", Side::LEFT)));
    EXPECT_THAT(book.Of("tv"), IsEmpty());
}

TEST_F(Book, PassesOverWhatMakesNoSense) {
    book.Add("phone", "placement.1", "rubbish");
    book.Add("phone", "placement.2", "[]");
    book.Add("phone", "placement.", WritePlacements({To("pc", Side::RIGHT)}));
    Hold("phone", "3", To("phone", Side::RIGHT));
    book.Add("phone", "volume", "7");
    EXPECT_THAT(book.All(), IsEmpty());

    const std::vector<Screen> screens{{"DP-1", 0, 0, 800, 600}, {"DP-2", -10, 600, 640, 480}};
    book.Add("pc", SCREENS_KEY, WriteScreens(screens));
    EXPECT_EQ(book.ScreensOf("pc"), screens);
    for (const char* wrong : {"", "{}", R"([{"name": "a", "x": 0, "y": 0, "width": 0, "height": 1}])",
             R"([{"name": "a", "x": 9999999, "y": 0, "width": 1, "height": 1}])", R"([{"x": 0}])"}) {
        EXPECT_EQ(ReadScreens(wrong), std::nullopt) << wrong;
    }
}

}  // namespace
}  // namespace ZYNE::Companion
