#include "linux/network/channel/channel_message.h"

#include <algorithm>

#include "linux/network/channel/datagram_key.h"

namespace ZYNE::Linux {
namespace {

constexpr char CONTROL = 0;
constexpr size_t HEADER_BYTES = 5;
// Of a part on the stream CHANNEL: as many as are no large message, so that parts keep their order, and fill one record
// of TLS with the link's own header.
constexpr size_t PART_BYTES = MaxBytes(Stream::CHANNEL) - 4 - HEADER_BYTES;

std::string WritePart(ChannelPart::Type type, uint32_t channel, std::string_view bytes) {
    std::string message;
    message.reserve(HEADER_BYTES + bytes.size());
    message += static_cast<char>(type);
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        message += static_cast<char>((channel >> shift) & 0xffU);
    }
    return message.append(bytes);
}

bool AreSane(const Wire::ChannelDatagrams& datagrams) {
    return datagrams.port() > 0 && datagrams.port() <= UINT16_MAX && datagrams.key().size() == DATAGRAM_KEY_BYTES;
}

bool IsSane(const Wire::ChannelOffer& offer) {
    const auto isName = [](const std::string& name) {
        return !name.empty() && name.size() <= MAX_NAME_BYTES;
    };
    return isName(offer.app()) && isName(offer.name()) && ChannelKindOf(offer.kind()) &&
        (!offer.has_datagrams() || AreSane(offer.datagrams()));
}

bool IsSane(const Wire::ChannelControl& control) {
    switch (control.message_case()) {
    case Wire::ChannelControl::kOffer:
        return IsSane(control.offer());
    case Wire::ChannelControl::kMatch:
        return !control.match().has_datagrams() || AreSane(control.match().datagrams());
    case Wire::ChannelControl::MESSAGE_NOT_SET:
        return false;
    default:
        return true;
    }
}

}  // namespace

bool IsChannelControl(std::string_view message) {
    return !message.empty() && message.front() == CONTROL;
}

std::optional<Wire::ChannelControl> ReadChannelControl(std::string_view message) {
    message.remove_prefix(1);
    Wire::ChannelControl control;
    if (!control.ParseFromArray(message.data(), static_cast<int>(message.size())) || !IsSane(control)) {
        return std::nullopt;
    }
    return control;
}

std::string WriteChannelControl(const Wire::ChannelControl& control) {
    std::string message(1, CONTROL);
    control.AppendToString(&message);
    return message;
}

std::optional<ChannelPart> ReadChannelPart(std::string_view message) {
    if (message.size() < HEADER_BYTES) {
        return std::nullopt;
    }
    ChannelPart part;
    part.type = static_cast<ChannelPart::Type>(message.front());
    for (const char byte : message.substr(1, HEADER_BYTES - 1)) {
        part.channel = part.channel << 8U | static_cast<uint8_t>(byte);
    }
    part.bytes = message.substr(HEADER_BYTES);
    switch (part.type) {
    case ChannelPart::Type::MORE:
    case ChannelPart::Type::LAST:
        return part.bytes.empty() ? std::nullopt : std::optional(part);
    case ChannelPart::Type::END:
        return part.bytes.empty() ? std::optional(part) : std::nullopt;
    default:
        return std::nullopt;
    }
}

bool SendInParts(const Link& link, Stream stream, uint32_t channel, std::string_view bytes) {
    const size_t most = stream == Stream::BULK ? bytes.size() : PART_BYTES;
    while (bytes.size() > most) {
        if (!link.Send(stream, WritePart(ChannelPart::Type::MORE, channel, bytes.substr(0, most)))) {
            return false;
        }
        bytes.remove_prefix(most);
    }
    return link.Send(stream, WritePart(ChannelPart::Type::LAST, channel, bytes));
}

void SendChannelEnd(const Link& link, Stream stream, uint32_t channel) {
    link.Send(stream, WritePart(ChannelPart::Type::END, channel, {}));
}

void AppendNumber(std::string& bytes, uint64_t number) {
    for (int shift = 56; shift >= 0; shift -= 8) {
        bytes += static_cast<char>((number >> static_cast<unsigned>(shift)) & 0xffU);
    }
}

uint64_t LeadingNumber(std::string_view bytes) {
    uint64_t number = 0;
    for (const char byte : bytes.substr(0, sizeof(number))) {
        number = number << 8U | static_cast<uint8_t>(byte);
    }
    return number;
}

}  // namespace ZYNE::Linux
