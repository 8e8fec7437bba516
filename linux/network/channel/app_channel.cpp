#include "linux/network/channel/app_channel.h"

#include <utility>

namespace ZYNE::Linux {
namespace {

// Of a whole message as it comes: that of an app, and a number before it.
constexpr size_t MAX_BYTES = MAX_MESSAGE_BYTES + sizeof(uint64_t);

}  // namespace

AppChannel::AppChannel(Ends ends, UniqueFd& app) : ends_(std::move(ends)), socket_(ends_.loop, ends_.name.kind, app) {}

void AppChannel::Start() {
    socket_.Start(weak_from_this());
}

bool AppChannel::OnPart(const ChannelPart& part) {
    if (!hasPeer_ || parts_.size() + part.bytes.size() > MAX_BYTES) {
        return false;
    }
    switch (part.type) {
    case ChannelPart::Type::MORE:
        parts_.append(part.bytes);
        return true;
    case ChannelPart::Type::LAST: {
        if (parts_.empty()) {
            return OnMessage(part.bytes);
        }
        parts_.append(part.bytes);
        const std::string message = std::exchange(parts_, {});
        return OnMessage(message);
    }
    case ChannelPart::Type::END:
        OnPeerEnd();
        return true;
    }
    return false;
}

void AppChannel::Deliver(std::string_view message) {
    if (waiting_.empty() && socket_.Send(message) != AppSocket::Sent::NO_ROOM) {
        OnDelivered(message.size());
        return;
    }
    waiting_.emplace_back(message);
    OnWaiting(waiting_);
}

void AppChannel::OnAppRoom() {
    while (!waiting_.empty() && socket_.Send(waiting_.front()) != AppSocket::Sent::NO_ROOM) {
        const size_t bytes = waiting_.front().size();
        waiting_.pop_front();
        OnDelivered(bytes);
    }
    if (!hasPeer_ && waiting_.empty()) {
        End();
    }
}

void AppChannel::SendOnLink(std::string_view message) {
    if (!SendInParts(*ends_.link, StreamOf(ends_.name.kind), ends_.peer, message)) {
        End();
    }
}

void AppChannel::OnAppGone(const char* fault) {
    if (fault != nullptr) {
        ends_.owner.OnChannelFault(*this, fault);
    }
    End();
}

void AppChannel::OnPeerEnd() {
    hasPeer_ = false;
    if (waiting_.empty()) {
        End();
    }
}

void AppChannel::OnFault(const std::string& fault) {
    ends_.owner.OnChannelFault(*this, fault);
    End();
}

void AppChannel::End() {
    if (std::exchange(hasEnded_, true)) {
        return;
    }
    socket_.Close();
    if (std::exchange(hasPeer_, false)) {
        SendChannelEnd(*ends_.link, StreamOf(ends_.name.kind), ends_.peer);
    }
    ends_.owner.OnChannelEnd(*this);
}

void AppChannel::Break() {
    hasEnded_ = true;
    hasPeer_ = false;
    socket_.Close();
}

}  // namespace ZYNE::Linux
