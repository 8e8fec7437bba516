#include "linux/network/channel/stream_channel.h"

namespace ZYNE::Linux {
namespace {

constexpr size_t GREATEST = MAX_MESSAGE_BYTES + StreamChannel::COST;
// So much may wait on the link's stream, of all channels together, for another message to be read: others have no more
// than that before theirs. Of bulk there is nobody behind.
constexpr size_t MAX_WAITING = size_t{64} << 10U;
constexpr size_t MAX_WAITING_BULK = size_t{512} << 10U;
// Credit is given in such pieces: what is missing at the sender then is less than a message of the greatest needs.
constexpr size_t PIECE = StreamChannel::WINDOW / 4;
static_assert(StreamChannel::WINDOW - PIECE >= GREATEST);

}  // namespace

size_t StreamChannel::MayRead() {
    const size_t most = Name().kind == ChannelKind::BULK ? MAX_WAITING_BULK : MAX_WAITING;
    return HasPeer() && WaitingOnLink() < most ? credit_ / GREATEST : 0;
}

void StreamChannel::OnAppMessage(std::string_view message) {
    credit_ -= message.size() + COST;
    SendOnLink(message);
}

bool StreamChannel::OnCredit(uint32_t bytes) {
    if (credit_ + bytes > WINDOW) {
        return false;
    }
    credit_ += bytes;
    Resume();
    return true;
}

bool StreamChannel::OnMessage(std::string_view message) {
    if (message.size() > MAX_MESSAGE_BYTES) {
        return false;
    }
    if (message.size() + COST > granted_) {
        OnFault("the peer sends more than it may");
        return true;
    }
    granted_ -= message.size() + COST;
    Deliver(message);
    return true;
}

void StreamChannel::OnDelivered(size_t bytes) {
    owed_ += bytes + COST;
    if (owed_ < PIECE || !HasPeer()) {
        return;
    }
    Wire::ChannelControl control;
    control.mutable_credit()->set_number(PeersNumber());
    control.mutable_credit()->set_bytes(static_cast<uint32_t>(owed_));
    granted_ += owed_;
    owed_ = 0;
    OwnLink()->Send(Stream::CHANNEL, WriteChannelControl(control));
}

}  // namespace ZYNE::Linux
