#include "linux/network/link/link_messages.h"

#include <algorithm>
#include <array>
#include <utility>

#include "platform/log/printable_text.h"

namespace ZYNE::Linux {
namespace {

using Wire::Refusal;

constexpr size_t MAX_NAME_BYTES = 64;

constexpr std::array<std::pair<LinkRefusal, Refusal::Kind>, 8> REFUSALS{
    {{LinkRefusal::DUPLICATE, Refusal::DUPLICATE}, {LinkRefusal::CLONE, Refusal::CLONE},
        {LinkRefusal::VERSION, Refusal::VERSION}, {LinkRefusal::REVOKED, Refusal::REVOKED},
        {LinkRefusal::OVERLOAD, Refusal::OVERLOAD}, {LinkRefusal::FULL, Refusal::FULL},
        {LinkRefusal::AGAIN, Refusal::AGAIN}, {LinkRefusal::LEAVING, Refusal::LEAVING}}};

}  // namespace

Wire::Facts ToWire(const DeviceFacts& facts) {
    Wire::Facts wire;
    wire.set_name(facts.name);
    wire.set_type(facts.type);
    wire.set_os_type(facts.osType);
    wire.set_screen_status(facts.screenStatus);
    return wire;
}

std::optional<DeviceFacts> FromWire(const Wire::Facts& facts) {
    if (facts.name().size() > MAX_NAME_BYTES) {
        return std::nullopt;
    }
    DeviceFacts read{"", facts.type(), facts.os_type(), facts.screen_status()};
    AppendPrintable(read.name, facts.name());
    return read;
}

Refusal::Kind ToWire(LinkRefusal refusal) {
    const auto found = std::ranges::find(REFUSALS, refusal, &std::pair<LinkRefusal, Refusal::Kind>::first);
    return found == REFUSALS.end() ? Refusal::OTHER : found->second;
}

LinkRefusal FromWire(Refusal::Kind kind) {
    const auto found = std::ranges::find(REFUSALS, kind, &std::pair<LinkRefusal, Refusal::Kind>::second);
    return found == REFUSALS.end() ? LinkRefusal::OTHER : found->first;
}

std::optional<Wire::LinkMessage> ParseLinkMessage(std::string_view bytes) {
    Wire::LinkMessage message;
    if (!message.ParseFromArray(bytes.data(), static_cast<int>(bytes.size())) ||
        message.message_case() == Wire::LinkMessage::MESSAGE_NOT_SET) {
        return std::nullopt;
    }
    return message;
}

}  // namespace ZYNE::Linux
