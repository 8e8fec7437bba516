#include "linux/fabric/control_inbox.h"

#include <utility>

#include "linux/fabric/answer_delivery.h"
#include "linux/fabric/endpoint_owner.h"
#include "linux/fabric/fabric_log.h"
#include "linux/fabric/guarded_call.h"
#include "linux/fabric/request_dispatch.h"
#include "platform/host/asyn_thread_pool.h"

namespace ZYNE::Linux {
namespace {

constexpr size_t LARGE_BYTES = size_t{64} << 10U;
constexpr size_t MOST_BYTES_ON_POOL = size_t{256} << 20U;
constexpr int32_t INFO_COLLECTION_TASK = 2;

constexpr size_t MOST_HELD = 256;
constexpr size_t MOST_HELD_BYTES = size_t{16} << 20U;
constexpr std::chrono::seconds LONGEST_HELD{2};

size_t BytesOf(const ControlMessage& message) {
    return message.payload.size() + message.service.commandProp.size();
}

void HandleHere(SessionTable& sessions, const std::string& networkId, ControlMessage message) {
    switch (message.kind) {
    case ControlKind::REQUEST:
        DispatchRequest(sessions, networkId, message);
        break;
    case ControlKind::MESSAGE:
        DeliverAnswer(sessions, networkId, std::move(message));
        break;
    default:
        FabricPrint(LogLevel::WARN, "a message of unknown kind of device %{public}s is dropped", Anonymous(networkId));
        break;
    }
}

}  // namespace

ControlInbox::ControlInbox(const FabricDomain& domain, const std::string& partition, const PeerTable& peers,
    std::shared_ptr<SessionTable> sessions)
    : peers_(peers), sessions_(std::move(sessions)), reader_(domain, partition) {}

void ControlInbox::TakeMessages() {
    reader_.Take([this](const dds_guid_t& sender, ControlMessage message) {
        if (const PeerPtr peer = peers_.FindOnline(sender)) {
            Handle(peer->device.networkId, std::move(message));
        } else {
            Hold(sender, std::move(message));
        }
    });
}

void ControlInbox::Hold(const dds_guid_t& sender, ControlMessage message) {
    heldBytes_ += BytesOf(message);
    held_.push_back({sender, std::move(message), SessionTable::Clock::now()});
    while (held_.size() > MOST_HELD || heldBytes_ > MOST_HELD_BYTES) {
        DropFirstHeld();
    }
}

void ControlInbox::DropFirstHeld() {
    FabricPrint(LogLevel::WARN, "a message is dropped: its sender has not announced itself");
    heldBytes_ -= BytesOf(held_.front().message);
    held_.pop_front();
}

void ControlInbox::ReleaseHeld(const Peer& peer) {
    std::deque<Held> others;
    std::deque<Held> all = std::exchange(held_, {});
    for (Held& held : all) {
        if (IsSame(held.sender, peer.participant)) {
            heldBytes_ -= BytesOf(held.message);
            Handle(peer.device.networkId, std::move(held.message));
        } else {
            others.push_back(std::move(held));
        }
    }
    held_ = std::move(others);
}

void ControlInbox::DropOldHeld() {
    const auto eldest = SessionTable::Clock::now() - LONGEST_HELD;
    while (!held_.empty() && held_.front().since < eldest) {
        DropFirstHeld();
    }
}

void ControlInbox::Handle(const std::string& networkId, ControlMessage message) {
    if (BytesOf(message) > LARGE_BYTES) {
        HandleOnPool(networkId, std::move(message));
    } else {
        HandleHere(*sessions_, networkId, std::move(message));
    }
}

void ControlInbox::HandleOnPool(const std::string& networkId, ControlMessage message) {
    const size_t bytes = BytesOf(message);
    if (*bytesOnPool_ + bytes > MOST_BYTES_ON_POOL) {
        FabricPrint(LogLevel::WARN,
            "a message of device %{public}s, %{public}zu bytes, is dropped: too many are under way",
            Anonymous(networkId), bytes);
        return;
    }
    // Gives the bytes back wherever the task ends, unrun as well.
    *bytesOnPool_ += bytes;
    const std::shared_ptr<void> share(nullptr, [count = bytesOnPool_, bytes](void*) { *count -= bytes; });
    auto task = [sessions = sessions_, networkId, share, held = std::make_shared<ControlMessage>(std::move(message))] {
        GuardedCall("handling a message", [&] { HandleHere(*sessions, networkId, std::move(*held)); });
    };
    if (!CollaborationFwk::AsynThreadPool::GetInstance()->AddAsynTask(std::move(task), INFO_COLLECTION_TASK)) {
        FabricPrint(
            LogLevel::WARN, "a message of device %{public}s is dropped: the pool refuses it", Anonymous(networkId));
    }
}

}  // namespace ZYNE::Linux
