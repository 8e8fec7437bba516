// What was copied on one device is pasted on the other.
#include <fstream>
#include <future>

#include <gmock/gmock.h>

#include "tests/scenario/pointer_scenario.h"

namespace ZYNE::Testing {
namespace {

constexpr const char* XCLIP = "/usr/bin/xclip";
constexpr const char* TEXT = "UTF8_STRING";
constexpr const char* PNG = "image/png";

class PointerClipboard : public PointerScenario {
protected:
    static std::string Paste(const Seat& seat, const std::string& target) {
        return RunCommand(
            {"/usr/bin/env", "DISPLAY=" + seat.server.Display(), XCLIP, "-selection", "clipboard", "-o", "-t", target})
            .out;
    }
    static bool Pastes(const Seat& seat, const std::string& target, const std::string& content) {
        return Eventually([&] { return Paste(seat, target) == content; });
    }
    void Copy(const Seat& seat, const std::string& target, const std::string& content) const {
        const std::filesystem::path file = directory / "content";
        std::ofstream(file, std::ios::binary) << content;
        seat.server.Run(XCLIP, {"-selection", "clipboard", "-i", "-t", target, file});
        EXPECT_TRUE(Pastes(seat, target, content)) << "it owns the clipboard a little later";
    }
    void Return() {
        EXPECT_EQ(phone->Ctl({"desk", "return"}).status, 0);
        EXPECT_TRUE(Comes(*phone, "home") && Comes(*pc, "home"));
    }

    static std::string Large(size_t size) {
        std::string content(size, '\0');
        for (size_t index = 0; index < size; ++index) {
            content[index] = static_cast<char>(index * 31 + index / 7919);
        }
        return content;
    }
};

TEST_F(PointerClipboard, GoesAlongBothWaysButForSecretsAndNotAgainstTheConfiguration) {
    StartDesks();
    const std::string picture = Large(size_t{5} << 20U);
    Copy(*phones, TEXT, "grüße");
    Cross();
    EXPECT_TRUE(Pastes(*pcs, TEXT, "grüße"));
    EXPECT_EQ(Paste(*pcs, PNG), "");
    Copy(*pcs, PNG, picture);
    Return();
    EXPECT_TRUE(Pastes(*phones, PNG, picture));
    EXPECT_EQ(Paste(*phones, TEXT), "");
    const std::string other = picture.substr(7);
    Copy(*phones, PNG, other);
    Cross();
    EXPECT_TRUE(Pastes(*pcs, PNG, other));
    Return();

    // A program that answers late: the pointer has left meanwhile.
    XProgram manager(phones->server.Display());
    manager.Copy({{TEXT, "late"}});
    Cross();
    const auto pasted = [&](const char* target) {
        auto pasting = std::async(std::launch::async, [&, target] { return Paste(*pcs, target); });
        manager.Serve([&] { return pasting.wait_for(std::chrono::seconds(0)) == std::future_status::ready; });
        return pasting.get();
    };
    EXPECT_TRUE(Eventually([&] { return pasted(TEXT) == "late"; }));
    EXPECT_EQ(pasted(PNG), "");
    Return();

    // A program that wants all that there is at once.
    manager.Copy({{TEXT, "both"}, {PNG, "a picture"}});
    Cross();
    std::vector<std::string> both;
    EXPECT_TRUE(Eventually([&] {
        auto pasting = std::async(std::launch::async, [&] { return pcs->program.PasteBoth(PNG, TEXT); });
        manager.Serve([&] { return pasting.wait_for(std::chrono::seconds(0)) == std::future_status::ready; });
        both = pasting.get();
        return both.back() == "both";
    }));
    EXPECT_THAT(both, ::testing::ElementsAre("a picture", "both"));
    Return();
    manager.Copy({{TEXT, "pass"}, {"x-kde-passwordManagerHint", "secret"}});
    Cross();
    EXPECT_TRUE(Eventually([&] { return pasted("TARGETS").empty(); })) << "what was there before is gone";
    EXPECT_EQ(pasted(TEXT), "");
    Return();

    EXPECT_EQ(pc->Stop(), 0);
    std::ofstream(pc->ConfigFile(), std::ios::app) << "clipboard = false\n";
    pc->Start();
    ASSERT_TRUE(AreReady());
    Copy(*phones, TEXT, "text");
    Cross();
    phones->Type(30);
    pcs->ExpectHeard({"+38", "-38"});
    EXPECT_EQ(Paste(*pcs, "TARGETS"), "");
    Return();
}

TEST_F(PointerClipboard, OfTheGreatestSizeHoldsUpNoMotion) {
    StartDesks();
    const std::string picture = Large(size_t{16} << 20U);
    Copy(*phones, PNG, picture);
    Cross();
    ASSERT_TRUE(Eventually([&] { return Paste(*pcs, "TARGETS").find(PNG) != std::string::npos; }));
    auto pasting = std::async(std::launch::async, [&] { return Paste(*pcs, PNG); });
    size_t moves = 0;
    for (int x = 3; pasting.wait_for(std::chrono::seconds(0)) != std::future_status::ready; x = 3 + (x + 1) % 700) {
        phones->program.MoveBy(static_cast<int16_t>(x - pcs->At().x), 0);
        ASSERT_TRUE(pcs->ComesTo({x, PC_HEIGHT / 2}));
        ++moves;
    }
    EXPECT_TRUE(pasting.get() == picture);
    EXPECT_GT(moves, 10U) << "they came while the content was on its way";
}

}  // namespace
}  // namespace ZYNE::Testing
