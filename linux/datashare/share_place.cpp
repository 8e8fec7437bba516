#include "linux/datashare/share_place.h"

#include <utility>

#include "platform/ipc/message_option.h"

namespace ZYNE::Linux::ShareToken {
namespace {

constexpr char16_t DESCRIPTOR[] = u"ZYNE.IDataShare";
constexpr uint32_t GET_PLACE = 1;

}  // namespace

std::optional<SharePlace> Ask(const sptr<IRemoteObject>& token, int waitTimeSeconds) {
    MessageParcel data;
    MessageParcel reply;
    MessageOption option(MessageOption::SYNCHRONOUS, waitTimeSeconds);
    data.WriteInterfaceToken(DESCRIPTOR);
    if (token->SendRequest(GET_PLACE, data, reply, option) != IRemoteObject::OK) {
        return std::nullopt;
    }
    SharePlace place;
    place.databaseFile = reply.ReadString();
    place.busAddress = reply.ReadString();
    const bool whole = place.databaseFile.starts_with('/') && !place.busAddress.empty();
    return whole ? std::optional(std::move(place)) : std::nullopt;
}

int32_t Answer(uint32_t code, MessageParcel& data, MessageParcel& reply, const SharePlace& place) {
    if (code != GET_PLACE || data.ReadInterfaceToken() != DESCRIPTOR) {
        return IRemoteObject::REFUSED;
    }
    return reply.WriteString(place.databaseFile) && reply.WriteString(place.busAddress) ? 0 : IRemoteObject::TOO_LARGE;
}

}  // namespace ZYNE::Linux::ShareToken
