#include "linux/bus/listener_object.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace ZYNE::Linux {

ListenerObject::ListenerObject(std::shared_ptr<BusCaller> caller, Post post, std::string uniqueName, std::string path,
    std::function<void()> dropped)
    : RemoteObject(std::move(caller), std::move(post), std::move(uniqueName), std::move(path)),
      dropped_(std::move(dropped)) {}

int32_t ListenerObject::SendRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) {
    const std::chrono::milliseconds wait = std::chrono::seconds(std::max(option.GetWaitTime(), 1));
    if (IsSlow()) {
        return Queue({code, data, wait});
    }
    const int32_t result = Send(code, data, reply, PATIENCE);
    if (result == TIMED_OUT) {
        const std::scoped_lock lock(queueMutex_);
        isSlow_ = true;
    }
    return result;
}

bool ListenerObject::IsSlow() const {
    const std::scoped_lock lock(queueMutex_);
    return isSlow_;
}

int32_t ListenerObject::Queue(Request request) {
    if (IsDead()) {
        return DEAD;
    }
    bool isTaken = false;
    {
        const std::scoped_lock lock(queueMutex_);
        if (queued_.size() < MOST_WAITING) {
            queued_.push_back(std::move(request));
            isSending_ = isSending_ || post_([self = sptr<ListenerObject>(this)] { self->SendQueued(); });
            isTaken = isSending_;
        }
    }
    if (!isTaken) {
        Drop();
    }
    return isTaken ? OK : TIMED_OUT;
}

void ListenerObject::SendQueued() {
    while (std::optional<Request> request = TakeNext()) {
        MessageParcel reply;
        if (Send(request->code, request->data, reply, request->wait) == TIMED_OUT) {
            Drop();
        }
    }
}

std::optional<ListenerObject::Request> ListenerObject::TakeNext() {
    const std::scoped_lock lock(queueMutex_);
    if (queued_.empty()) {
        isSending_ = false;
        return std::nullopt;
    }
    std::optional<Request> next(std::move(queued_.front()));
    queued_.pop_front();
    return next;
}

void ListenerObject::Drop() {
    {
        const std::scoped_lock lock(queueMutex_);
        queued_.clear();
    }
    if (Die()) {
        dropped_();
    }
}

}  // namespace ZYNE::Linux
