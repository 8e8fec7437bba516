#include "companion/core/message.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace ZYNE::Companion {
namespace {

const Total TOTAL{7, -MAX_TOTAL, MAX_TOTAL};
const Gate GATE{Side::BOTTOM, "HDMI-1", 65535};

// One of each, with values at the ends of their ranges, and its bytes after the version.
struct Case {
    Message message;
    std::string bytes;
};

std::string Bytes(std::initializer_list<int> values) {
    return {values.begin(), values.end()};
}

const std::string VISIT = Bytes({4, 3, 2, 1});
const std::string TOTAL_BYTES = Bytes({7, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, -1, 0, 0, 0, 0, 0, 0, 0, 1});
const std::string GATE_BYTES = Bytes({3, -1, -1, 6}) + "HDMI-1";
constexpr Visit NUMBER = 0x01020304;

const std::vector<Case> CASES{
    {Hello{}, Bytes({0})},
    {Status{true, true}, Bytes({1, 3})},
    {Enter{NUMBER, GATE, {true, false, true}, {1, MAX_KEY_CODE}, {1, MAX_BUTTON}},
        Bytes({2}) + VISIT + GATE_BYTES + Bytes({5, 2, 1, MAX_KEY_CODE, 2, 0, 0, -128})},
    {Entered{NUMBER}, Bytes({3}) + VISIT},
    {Refused{NUMBER, Reason::NONSENSE}, Bytes({4}) + VISIT + Bytes({11})},
    {Key{NUMBER, TOTAL, {MAX_KEY_CODE, true}}, Bytes({5}) + VISIT + TOTAL_BYTES + Bytes({MAX_KEY_CODE, 1})},
    {Click{NUMBER, TOTAL, {8, false}}, Bytes({6}) + VISIT + TOTAL_BYTES + Bytes({8, 0})},
    {Wheel{NUMBER, TOTAL, {-MAX_SCROLL, 256}},
        Bytes({7}) + VISIT + TOTAL_BYTES + Bytes({0x20, 0xd1, -1, -1, 0, 1, 0, 0})},
    {Left{NUMBER, TOTAL, "3f2a", GATE}, Bytes({8}) + VISIT + TOTAL_BYTES + Bytes({4}) + "3f2a" + GATE_BYTES},
    {Ended{NUMBER, Reason::OVER_EDGE}, Bytes({9}) + VISIT + Bytes({1})},
    {Copied{256, 6}, Bytes({10, 0, 1, 0, 0, 6})},
    {Move{NUMBER, TOTAL}, Bytes({11}) + VISIT + TOTAL_BYTES},
    {Alive{NUMBER, 1, TOTAL}, Bytes({12}) + VISIT + Bytes({1, 0, 0, 0, 0, 0, 0, 0}) + TOTAL_BYTES},
    {Echo{NUMBER, uint64_t{1} << 63U}, Bytes({13}) + VISIT + Bytes({0, 0, 0, 0, 0, 0, 0, -128})},
};

TEST(Message, HasTheBytesThatAreDocumented) {
    ASSERT_EQ(CASES.size(), std::variant_size_v<Message>);
    for (const Case& each : CASES) {
        EXPECT_EQ(Write(each.message), Bytes({1, 0}) + each.bytes) << each.message.index();
        const std::optional<Message> read = Read(Write(each.message));
        ASSERT_TRUE(read) << each.message.index();
        EXPECT_EQ(Write(*read), Write(each.message));
        EXPECT_EQ(IsLatest(*read), each.message.index() > 10);
    }
}

TEST(Message, IsReadWholeOrNotAtAll) {
    for (const Case& each : CASES) {
        const std::string bytes = Write(each.message);
        for (size_t size = 0; size < bytes.size(); ++size) {
            EXPECT_FALSE(Read(bytes.substr(0, size))) << each.message.index() << " cut to " << size;
        }
        EXPECT_FALSE(Read(bytes + '\0')) << each.message.index();
    }
}

// There is one way to write a message: what is read otherwise than it was written would have been out of its range.
TEST(Message, HasNoValueOutOfRangeWhateverIsSent) {
    const auto isSensible = [](const std::string& bytes) {
        const std::optional<Message> message = Read(bytes);
        return !message || Write(*message) == bytes;
    };
    for (const Case& each : CASES) {
        for (size_t bit = 0; bit < Write(each.message).size() * 8; ++bit) {
            std::string bytes = Write(each.message);
            bytes[bit / 8] = static_cast<char>(bytes[bit / 8] ^ (1 << bit % 8));
            EXPECT_TRUE(isSensible(bytes) || std::holds_alternative<Hello>(*Read(bytes))) << each.message.index();
        }
    }
    std::mt19937 random(1);
    for (int round = 0; round < 100000; ++round) {
        std::string bytes = Bytes({1, 0, static_cast<int>(random() % 16)});
        bytes.resize(3 + random() % 48);
        std::generate(bytes.begin() + 3, bytes.end(), [&] { return static_cast<char>(random() % 4); });
        EXPECT_TRUE(isSensible(bytes));
    }
}

TEST(Message, IsRefusedWithAValueThatMakesNoSense) {
    const auto isRead = [](size_t number, size_t at, int value) {
        std::string bytes = Write(CASES.at(number).message);
        bytes.at(at) = static_cast<char>(value);
        return Read(bytes).has_value();
    };
    EXPECT_FALSE(isRead(1, 3, 4)) << "an unknown flag";
    EXPECT_FALSE(isRead(2, 7, 4)) << "a fifth side";
    EXPECT_FALSE(isRead(2, 11, 0x1b)) << "a name that does something to a terminal";
    EXPECT_FALSE(isRead(2, 17, 8)) << "a fourth lock key";
    EXPECT_FALSE(isRead(2, 19, 0)) << "key 0";
    EXPECT_FALSE(isRead(2, 20, 1)) << "a key twice";
    EXPECT_FALSE(isRead(2, 21, 1)) << "button 0";
    EXPECT_FALSE(isRead(4, 7, 0)) << "no reason";
    EXPECT_FALSE(isRead(4, 7, 12)) << "an unknown reason";
    EXPECT_FALSE(isRead(5, 18, -2)) << "moved too far";
    EXPECT_FALSE(isRead(5, 27, 248)) << "no key of a keyboard";
    EXPECT_FALSE(isRead(5, 28, 2)) << "neither up nor down";
    for (const int button : {0, 4, 5, 6, 7, 32}) {
        EXPECT_FALSE(isRead(6, 27, button)) << button;
    }
    EXPECT_FALSE(isRead(7, 27, 0x1f)) << "scrolled too far";
    EXPECT_FALSE(isRead(8, 27, 0)) << "no device";
    EXPECT_FALSE(isRead(8, 27, 65)) << "a name too long";
    EXPECT_FALSE(isRead(10, 7, 8)) << "an unknown content";
    EXPECT_FALSE(Read(Write(Entered{0}))) << "no visit";
    EXPECT_FALSE(Read(Bytes({1, 0, 14}))) << "an unknown message";
}

TEST(Message, SaysHelloToEveryVersion) {
    const std::optional<Message> newer = Read(Bytes({2, 1, 0}) + "and more");
    ASSERT_TRUE(newer);
    EXPECT_EQ(std::get<Hello>(*newer).version, 0x102);
    EXPECT_EQ(Write(Hello{0x102}), Bytes({2, 1, 0}));
    EXPECT_FALSE(Read(Bytes({2, 1, 1, 3}))) << "the Status of another version";
}

}  // namespace
}  // namespace ZYNE::Companion
