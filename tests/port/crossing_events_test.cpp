// What a process that listens to crossing takes for an event.
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "client/crossing_events.h"

namespace ZYNE::Client {
namespace {

using Bytes = std::vector<uint8_t>;

std::optional<CrossingEvent> Read(uint32_t code, const Bytes& bytes) {
    MessageParcel data(bytes);
    return ReadCrossingEvent(code, data);
}

Bytes Write(const std::u16string& token, const std::function<void(MessageParcel&)>& write) {
    MessageParcel data;
    data.WriteInterfaceToken(token);
    write(data);
    return data.GetBytes();
}

TEST(CrossingEvents, AreReadToTheLastByteAndRefusedWithOneByteLessOrMore) {
    const auto peer = [](MessageParcel& data) {
        data.WriteString("a network id");
        data.WriteInt32(1);
    };
    const auto numbers = [](int count) {
        return [count](MessageParcel& data) {
            for (int i = 1; i <= count; ++i) {
                data.WriteInt32(i);
            }
        };
    };
    const std::vector<std::function<void(MessageParcel&)>> events{peer, peer, numbers(2), numbers(7)};
    for (uint32_t code = 1; code <= events.size(); ++code) {
        Bytes bytes = Write(EVENT_TOKEN, events[code - 1]);
        ASSERT_TRUE(Read(code, bytes)) << code;
        EXPECT_EQ(Read(code, bytes)->index(), code - 1);
        EXPECT_FALSE(Read(code, Write(u"ZYNE.CollaborationFwk.IOther", events[code - 1]))) << code;
        for (size_t size = 0; size < bytes.size(); ++size) {
            EXPECT_FALSE(Read(code, Bytes(bytes.data(), bytes.data() + size))) << code << " of " << size << " bytes";
        }
        bytes.push_back(0);
        EXPECT_FALSE(Read(code, bytes)) << code;
    }
    EXPECT_FALSE(Read(0, Write(EVENT_TOKEN, peer)));
    EXPECT_FALSE(Read(5, Write(EVENT_TOKEN, peer)));

    const auto screen = std::get<ScreenEvent>(*Read(2, Write(EVENT_TOKEN, peer)));
    EXPECT_EQ(screen.networkId, "a network id");
    EXPECT_EQ(screen.status, 1);
    const auto edge = std::get<EdgeEvent>(*Read(4, Write(EVENT_TOKEN, numbers(7))));
    EXPECT_EQ(edge.screenId, 1);
    EXPECT_EQ(edge.y, 3);
    EXPECT_EQ(edge.deviceId, 6);
    EXPECT_TRUE(edge.isPressedButtons);
}

}  // namespace
}  // namespace ZYNE::Client
