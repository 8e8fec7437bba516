#include "client/crossing_events.h"

#include <cstddef>

namespace ZYNE::Client {
namespace {

enum Code : uint32_t { SWITCH = 1, SCREEN = 2, KEY = 3, EDGE = 4 };

constexpr size_t FIELD = 4;  // bytes of an int32 or a bool

// A network id and a status.
template <typename Event>
std::optional<CrossingEvent> ReadPeerEvent(MessageParcel& data) {
    Event event{data.ReadString(), 0};
    if (event.networkId.empty() || data.GetReadableBytes() != FIELD) {
        return std::nullopt;
    }
    event.status = data.ReadInt32();
    return event;
}

std::optional<CrossingEvent> ReadKeyEvent(MessageParcel& data) {
    if (data.GetReadableBytes() != 2 * FIELD) {
        return std::nullopt;
    }
    const int32_t code = data.ReadInt32();
    return KeyEvent{code, data.ReadInt32()};
}

std::optional<CrossingEvent> ReadEdgeEvent(MessageParcel& data) {
    if (data.GetReadableBytes() != 7 * FIELD) {
        return std::nullopt;
    }
    EdgeEvent event{};
    for (int32_t* field : {&event.screenId, &event.x, &event.y, &event.rawDx, &event.rawDy, &event.deviceId}) {
        *field = data.ReadInt32();
    }
    event.isPressedButtons = data.ReadBool();
    return event;
}

}  // namespace

std::optional<CrossingEvent> ReadCrossingEvent(uint32_t code, MessageParcel& data) {
    if (data.ReadInterfaceToken() != EVENT_TOKEN) {
        return std::nullopt;
    }
    switch (code) {
    case SWITCH:
        return ReadPeerEvent<SwitchEvent>(data);
    case SCREEN:
        return ReadPeerEvent<ScreenEvent>(data);
    case KEY:
        return ReadKeyEvent(data);
    case EDGE:
        return ReadEdgeEvent(data);
    default:
        return std::nullopt;
    }
}

}  // namespace ZYNE::Client
