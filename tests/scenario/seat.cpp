#include "tests/scenario/seat.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace ZYNE::Testing {

using Linux::XReply;

namespace {

constexpr uint16_t BUTTONS = 0x1f00;

}  // namespace

Seat::Seat(const std::filesystem::path& directory, const std::string& size, const std::string& display)
    : server(directory, size, display), program(server.Display()), link_(Linux::OpenX(server.Display())) {
    const auto width = static_cast<uint16_t>(link_.screen->width_in_pixels - 200);
    const auto height = static_cast<uint16_t>(link_.screen->height_in_pixels - 200);
    program.Show(100, 100, width, height, true);
}

void Seat::Press(int key, bool isDown) {
    program.Press(isDown ? XCB_KEY_PRESS : XCB_KEY_RELEASE, static_cast<uint8_t>(key + int{Linux::X_FIRST_KEY}));
}

void Seat::Type(int key) {
    Press(key, true);
    Press(key, false);
}

void Seat::PressButton(int button, bool isDown) {
    program.Press(isDown ? XCB_BUTTON_PRESS : XCB_BUTTON_RELEASE, static_cast<uint8_t>(button));
}

void Seat::Click(int button) {
    PressButton(button, true);
    PressButton(button, false);
}

Spot Seat::At() {
    const XReply<xcb_query_pointer_reply_t> reply(xcb_query_pointer_reply(
        link_.connection.get(), xcb_query_pointer(link_.connection.get(), link_.screen->root), nullptr));
    return reply ? Spot{reply->root_x, reply->root_y} : Spot{-1, -1};
}

bool Seat::ComesTo(Spot spot) {
    const bool comes = Eventually([&] {
        const Spot at = At();
        return std::abs(at.x - spot.x) <= 1 && std::abs(at.y - spot.y) <= 1;
    });
    EXPECT_TRUE(comes) << "it is at " << At().x << "," << At().y << ", not " << spot.x << "," << spot.y;
    return comes;
}

std::set<int> Seat::Keys() {
    const XReply<xcb_query_keymap_reply_t> reply(
        xcb_query_keymap_reply(link_.connection.get(), xcb_query_keymap(link_.connection.get()), nullptr));
    std::set<int> keys;
    for (unsigned key = 0; reply && key < 256; ++key) {
        if ((reply->keys[key / 8] >> key % 8 & 1U) != 0) {
            keys.insert(static_cast<int>(key - Linux::X_FIRST_KEY));
        }
    }
    return keys;
}

uint16_t Seat::Modifiers() {
    const XReply<xcb_query_pointer_reply_t> reply(xcb_query_pointer_reply(
        link_.connection.get(), xcb_query_pointer(link_.connection.get(), link_.screen->root), nullptr));
    return reply ? reply->mask : uint16_t{0};
}

bool Seat::HoldsNothing() {
    return Eventually([this] { return Keys().empty() && (Modifiers() & BUTTONS) == 0; });
}

void Seat::ExpectHeard(const std::vector<std::string>& wanted) {
    Eventually([&] {
        std::ranges::copy(program.Heard(), std::back_inserter(heard_));
        return heard_.size() >= wanted.size();
    });
    EXPECT_EQ(heard_, wanted);
    heard_.clear();
}

bool Seat::IsFree() {
    const bool isFree = Eventually([this] {
        const bool hasBoth = program.HoldPointer() && program.HoldKeyboard();
        program.LetGo();
        return hasBoth;
    });
    EXPECT_TRUE(isFree) << "somebody holds keyboard or pointer of " << server.Display();
    return isFree;
}

}  // namespace ZYNE::Testing
