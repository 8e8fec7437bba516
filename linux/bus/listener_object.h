// An object of another process that is told of events, none of which may hold up those who hear of it after.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "linux/bus/remote_object.h"

namespace ZYNE::Linux {

// Any thread. BusClient makes these. A request waits for its answer, as one to any object does, but not for long. From the
// first that is not answered in time all wait here, in their order, and hold up nobody; the result is then that of
// queueing. A process that still does not answer, or lets too many gather, counts as dead.
class ListenerObject final : public RemoteObject {
public:
    // How long one is waited for before it is found slow. A listener that answers takes a thousandth of it.
    static constexpr std::chrono::milliseconds PATIENCE{100};
    static constexpr size_t MOST_WAITING = 256;  // requests

    // `dropped` is told when it counts as dead though its process lives.
    ListenerObject(std::shared_ptr<BusCaller> caller, Post post, std::string uniqueName, std::string path,
        std::function<void()> dropped);

    int32_t SendRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;

private:
    struct Request {
        uint32_t code;
        MessageParcel data;
        std::chrono::milliseconds wait;
    };

    int32_t Queue(Request request);
    void SendQueued();
    std::optional<Request> TakeNext();
    bool IsSlow() const;
    void Drop();

    const std::function<void()> dropped_;

    mutable std::mutex queueMutex_;  // held while `post` is asked, which does not call back
    bool isSlow_ = false;            // guarded by queueMutex_; stays so
    bool isSending_ = false;         // guarded by queueMutex_; SendQueued is posted or runs
    std::deque<Request> queued_;     // guarded by queueMutex_; of one that is slow
};

}  // namespace ZYNE::Linux
