#include "linux/bus/remote_object.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "linux/bus/bus_wire.h"

namespace ZYNE::Linux {
namespace {

int ReadReply(sd_bus_message* message, int32_t& status, MessageParcel& reply) {
    std::vector<uint8_t> bytes;
    if (sd_bus_message_read(message, "i", &status) <= 0) {
        return -EBADMSG;
    }
    const int result = BusWire::ReadBytes(message, bytes);
    if (result >= 0) {
        reply = MessageParcel(std::move(bytes));
    }
    return result;
}

}  // namespace

RemoteObject::RemoteObject(std::shared_ptr<BusCaller> caller, Post post, std::string uniqueName, std::string path)
    : caller_(std::move(caller)), post_(std::move(post)), method_{std::move(uniqueName), std::move(path),
                                                              BusWire::OBJECT_INTERFACE, BusWire::CALL} {}

int32_t RemoteObject::SendRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) {
    if (IsDead()) {
        return DEAD;
    }
    int32_t status = 0;
    const auto write = [&](sd_bus_message* message) {
        const int result = sd_bus_message_append(message, "u", code);
        return result >= 0 ? BusWire::AppendBytes(message, data.GetBytes()) : result;
    };
    const auto read = [&](sd_bus_message* message) {
        return ReadReply(message, status, reply);
    };
    const std::chrono::seconds timeout(std::max(option.GetWaitTime(), 1));
    const int result = caller_->Call(method_, timeout, std::ref(write), std::ref(read));
    return result == OK && status != 0 ? REFUSED : result;
}

bool RemoteObject::AddDeathRecipient(const sptr<DeathRecipient>& recipient) {
    const std::scoped_lock lock(mutex_);
    if (dead_ || !recipient) {
        return false;
    }
    recipients_.Add(recipient);
    return true;
}

bool RemoteObject::RemoveDeathRecipient(const sptr<DeathRecipient>& recipient) {
    sptr<DeathRecipient> removed;  // let go of behind the lock: it may be the last reference
    const std::scoped_lock lock(mutex_);
    removed = recipients_.Remove(recipient);
    return static_cast<bool>(removed);
}

bool RemoteObject::IsDead() const {
    const std::scoped_lock lock(mutex_);
    return dead_;
}

void RemoteObject::Die() {
    {
        const std::scoped_lock lock(mutex_);
        if (std::exchange(dead_, true) || recipients_.Empty()) {
            return;
        }
    }
    post_([self = sptr<RemoteObject>(this)] { self->TellRecipients(); });
}

void RemoteObject::TellRecipients() {
    const wptr<IRemoteObject> self(sptr<IRemoteObject>(this));
    while (const sptr<DeathRecipient> recipient = TakeRecipient()) {
        recipient->OnRemoteDied(self);
    }
}

sptr<IRemoteObject::DeathRecipient> RemoteObject::TakeRecipient() {
    const std::scoped_lock lock(mutex_);
    return recipients_.TakeFirst();
}

}  // namespace ZYNE::Linux
