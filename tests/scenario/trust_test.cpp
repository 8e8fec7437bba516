// Who sees and serves whom.
#include <algorithm>

#include "tests/scenario/scenario.h"

namespace ZYNE::Testing {
namespace {

using Trust = Scenario;
using ::testing::HasSubstr;

TEST_F(Trust, ADeviceOfAnotherAccountOrWithoutOneIsNeitherSeenNorServed) {
    StartPhoneAndPc();
    TestDevice& stranger = Add("stranger", {.account = "elsewhere"});
    TestDevice& friendOfStranger = Add("friend", {.account = "elsewhere"});
    TestDevice& open = Add("open", {.account = "home", .open = true});
    stranger.Start();
    open.Start();
    friendOfStranger.Start();
    // By the time that these two have found each other, they would have found the others.
    ASSERT_TRUE(Eventually([&] { return stranger.Sees("friend") && friendOfStranger.Sees("stranger"); }));
    EXPECT_EQ(phone->Api().Profiles().Put("sound", "audio", "volume", "7"), 0);
    EXPECT_EQ(friendOfStranger.Api().Profiles().Put("sound", "audio", "secret", "8"), 0);
    const auto knows = [](const TestDevice& device, const std::string& key) {
        return std::ranges::count(device.Api().Profiles().List(""), key, &Client::ProfileEntry::key) > 0;
    };
    EXPECT_TRUE(Eventually([&] { return knows(*pc, "volume") && knows(stranger, "secret"); }));
    EXPECT_FALSE(knows(*pc, "secret") || knows(stranger, "volume") || knows(open, "volume"));

    for (const char* home : {"phone", "pc"}) {
        EXPECT_FALSE(stranger.Lists(home));
        EXPECT_FALSE(open.Lists(home));
    }
    for (const char* foreign : {"stranger", "friend", "open"}) {
        EXPECT_FALSE(phone->Lists(foreign));
    }
    const Outcome refused = stranger.Ctl({"info", "get", "pc", "service.hello"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.err, HasSubstr("pc"));
}

TEST_F(Trust, OpenDevicesOfOneAccountNameFindEachOtherAndSaySoInTheLog) {
    TestDevice& one = Add("one", {.type = "tv", .account = "home", .open = true});
    TestDevice& two = Add("two", {.account = "home", .open = true});
    TestDevice& other = Add("other", {.account = "elsewhere", .open = true});
    other.Start();
    one.Start();
    two.Start();

    ASSERT_TRUE(Eventually([&] { return one.Sees("two") && two.Sees("one"); }));
    EXPECT_FALSE(one.Lists("other"));
    EXPECT_GT(one.CountInLog("open mode"), 0u);
    EXPECT_EQ(one.Ask("two", {"anything"}).code, 0);
}

}  // namespace
}  // namespace ZYNE::Testing
