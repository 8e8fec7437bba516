#include "linux/network/control/control_channel.h"

#include <utility>

#include "linux/base/guarded_call.h"
#include "linux/base/log_share_scope.h"
#include "linux/network/control/answer_delivery.h"
#include "linux/network/control/request_dispatch.h"
#include "linux/network/link/secure_channel.h"
#include "linux/network/presence/fabric_log.h"

namespace ZYNE::Linux {
namespace {

// Of all peers together, of messages that wait to be handled.
constexpr size_t MAX_LARGE_BYTES = size_t{64} << 20U;

size_t BytesOf(const ControlMessage& message) {
    return message.payload.size() + message.service.commandProp.size();
}

}  // namespace

ControlChannel::ControlChannel(const Host& host, std::shared_ptr<const PeerTable> peers,
    std::shared_ptr<PeerShares> shares, std::function<void(const std::string& udid)> onExcess)
    : host_(host), peers_(std::move(peers)), shares_(std::move(shares)), onExcess_(std::move(onExcess)),
      largeOnes_(Mailbox<Large>::Make(host.pool,
          [](Large& large) {
              const LogShareScope scope(large.channel->shares_->LogOf(large.link->Udid()));
              large.channel->Handle(large.link, std::move(large.message));
          },
          {MAX_LARGE_BYTES, [](const Large& large) {
               return BytesOf(large.message);
           }})) {}

FabricCode ControlChannel::SendRequest(const std::string& networkId, const std::string& callerString,
    const std::string& sessionName, const CollaborationFwk::ServiceInfo& service, int32_t& session) {
    const PeerPtr peer = peers_->FindOnline(networkId);
    if (!peer) {
        return FABRIC_PEER_OFFLINE;
    }
    // Opened before the request is sent: the answer may be here before the send returns.
    session = sessions_.Open(networkId, service.collaborationIdStr);
    auto bytes =
        WriteControlMessage({ControlKind::REQUEST, session, 0, callerString, sessionName, service, std::string()});
    const FabricCode code = !bytes                             ? FABRIC_TOO_LARGE
        : peer->link->Send(Stream::CONTROL, std::move(*bytes)) ? FABRIC_OK
                                                               : FABRIC_PEER_STALLED;
    if (code != FABRIC_OK) {
        sessions_.End(session);
    }
    return code;
}

FabricCode ControlChannel::SendAnswer(int32_t session, uint32_t type, std::string_view payload) {
    const auto served = sessions_.FindServed(session);
    if (!served) {
        return FABRIC_SESSION_UNKNOWN;
    }
    const auto& [networkId, openersNumber] = *served;
    const PeerPtr peer = peers_->FindOnline(networkId);
    if (!peer) {
        return FABRIC_PEER_OFFLINE;
    }
    ControlMessage answer;
    answer.kind = ControlKind::ANSWER;
    answer.session = openersNumber;
    answer.type = type;
    answer.payload = payload;
    auto bytes = WriteControlMessage(answer);
    if (!bytes) {
        return FABRIC_TOO_LARGE;
    }
    if (!peer->link->Send(Stream::CONTROL, std::move(*bytes))) {
        return FABRIC_PEER_STALLED;
    }
    if (sessions_.End(session)) {
        ServeNext(networkId);
    }
    return FABRIC_OK;
}

bool ControlChannel::OnMessage(const LinkPtr& link, std::string_view bytes) {
    auto message = ReadControlMessage(bytes);
    if (!message) {
        return false;
    }
    const LogShareScope scope(shares_->LogOf(link->Udid()));
    if (bytes.size() > SecureChannel::LARGE_BYTES) {
        HandleLater(link, std::move(*message));
    } else {
        Handle(link, std::move(*message));
    }
    return true;
}

void ControlChannel::HandleLater(const LinkPtr& link, ControlMessage message) {
    const size_t bytes = BytesOf(message);
    if (!largeOnes_->Post({shared_from_this(), link, std::move(message)})) {
        FabricPrint(LogLevel::WARN, "a message of %{public}zu bytes of device %{public}s is dropped: too many wait",
            bytes, Anonymous(link->NetworkId()));
        onExcess_(link->Udid());
    }
}

void ControlChannel::Handle(const LinkPtr& link, ControlMessage message) {
    switch (message.kind) {
    case ControlKind::REQUEST:
        TakeRequest(link, std::move(message));
        break;
    case ControlKind::ANSWER:
        if (!DeliverAnswer(host_.listeners, sessions_, link->NetworkId(), std::move(message))) {
            onExcess_(link->Udid());
        }
        break;
    case ControlKind::BUSY:
        if (sessions_.TakeOpened(message.session, link->NetworkId())) {
            FabricPrint(LogLevel::WARN, "device %{public}s refuses a request: it serves too many of this device",
                Anonymous(link->NetworkId()));
        }
        break;
    }
}

void ControlChannel::TakeRequest(const LinkPtr& link, ControlMessage request) {
    const int32_t session = request.session;
    switch (gate_.Enter(link->NetworkId(), request)) {
    case RequestGate::Place::UNDER_WAY:
        Serve(link->NetworkId(), std::move(request));
        break;
    case RequestGate::Place::WAITING:
        break;
    case RequestGate::Place::REFUSED: {
        ControlMessage busy;
        busy.kind = ControlKind::BUSY;
        busy.session = session;
        if (auto bytes = WriteControlMessage(busy)) {
            link->Send(Stream::CONTROL, std::move(*bytes));
        }
        onExcess_(link->Udid());
        break;
    }
    }
}

// As many as end at once are followed by the next.
void ControlChannel::Serve(const std::string& networkId, ControlMessage request) {
    std::optional<ControlMessage> next(std::move(request));
    while (next && !DispatchRequest(host_.plugins, sessions_, networkId, *next)) {
        next = gate_.Leave(networkId);
    }
}

void ControlChannel::ServeNext(const std::string& networkId) {
    const LogShareScope scope(shares_->LogOf(peers_->UdidOf(networkId)));
    if (auto next = gate_.Leave(networkId)) {
        Serve(networkId, std::move(*next));
    }
}

std::vector<std::string> ControlChannel::OnDown(const LinkPtr& link) {
    gate_.Forget(link->NetworkId());
    return sessions_.EndAllWith(link->NetworkId());
}

void ControlChannel::EndOld() {
    for (const std::string& networkId : sessions_.EndOld()) {
        ServeNext(networkId);
    }
}

}  // namespace ZYNE::Linux
