#include "linux/bus/listener_object.h"

#include <algorithm>
#include <utility>

namespace ZYNE::Linux {

ListenerObject::ListenerObject(std::shared_ptr<BusCaller> caller, Post post, std::string uniqueName, std::string path,
    std::function<void()> dropped, std::shared_ptr<DirectLines> lines)
    : RemoteObject(std::move(caller), std::move(post), std::move(uniqueName), std::move(path), std::move(lines)),
      dropped_(std::move(dropped)),
      queue_(Mailbox<Request>::Make(
          post_, [](Request& request) { request.listener->SendQueued(request); }, {MAX_WAITING})) {}

int32_t ListenerObject::SendRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) {
    if (!isSlow_) {
        const int32_t result = Send(code, data, reply, PATIENCE);
        isSlow_ = isSlow_ || result == TIMED_OUT;
        return result;
    }
    if (IsDead()) {
        return DEAD;
    }
    const std::chrono::milliseconds wait = std::chrono::seconds(std::max(option.GetWaitTime(), 1));
    if (queue_->Post({sptr<ListenerObject>(this), code, data, wait})) {
        return OK;
    }
    Drop();
    return TIMED_OUT;
}

void ListenerObject::SendQueued(Request& request) {
    MessageParcel reply;
    if (Send(request.code, request.data, reply, request.wait) == TIMED_OUT) {
        Drop();
    }
}

// What waits in the queue is not sent, and holds this object no longer.
void ListenerObject::Drop() {
    queue_->Close();
    if (Die()) {
        dropped_();
    }
}

}  // namespace ZYNE::Linux
