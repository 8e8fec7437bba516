#include "linux/apps/extension_remote.h"

#include <algorithm>
#include <utility>

namespace ZYNE::Linux {

class ExtensionRemote::DeathWatch final : public IRemoteObject::DeathRecipient {
public:
    explicit DeathWatch(wptr<ExtensionRemote> object) : object_(std::move(object)) {}

    void OnRemoteDied(const wptr<IRemoteObject>&) override {
        if (const sptr<ExtensionRemote> object = object_.promote()) {
            object->Die();
        }
    }

private:
    const wptr<ExtensionRemote> object_;
};

ExtensionRemote::ExtensionRemote(
    Post post, const sptr<RemoteObject>& remote, std::chrono::milliseconds answerTime, std::function<void()> hung)
    : MortalObject(std::move(post)), remote_(remote), answerTime_(answerTime), hung_(std::move(hung)),
      breaker_(answerTime) {}

sptr<ExtensionRemote> ExtensionRemote::Make(
    Post post, const sptr<RemoteObject>& remote, std::chrono::milliseconds answerTime, std::function<void()> hung) {
    sptr<ExtensionRemote> object(new ExtensionRemote(std::move(post), remote, answerTime, std::move(hung)));
    if (!remote->AddDeathRecipient(sptr<DeathRecipient>(new DeathWatch(wptr<ExtensionRemote>(object))))) {
        object->Die();
    }
    return object;
}

int32_t ExtensionRemote::SendRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) {
    if (IsDead()) {
        return DEAD;
    }
    if (!MayAsk()) {
        return TIMED_OUT;
    }
    const std::chrono::milliseconds limit = std::chrono::seconds(std::max(option.GetWaitTime(), 1));
    const Clock::time_point sent = Clock::now();
    const int32_t result = remote_->Send(code, data, reply, std::min(answerTime_, limit));
    TakeResult(result, sent);
    return result;
}

bool ExtensionRemote::MayAsk() {
    const MutexLock lock(breakerMutex_);
    return breaker_.MayAsk(Clock::now());
}

void ExtensionRemote::TakeResult(int32_t result, Clock::time_point sent) {
    {
        const MutexLock lock(breakerMutex_);
        if (result != TIMED_OUT) {
            breaker_.TakeAnswer();
            return;
        }
        if (!breaker_.TakeMiss(sent, Clock::now())) {
            return;
        }
    }
    Die();
    hung_();
}

}  // namespace ZYNE::Linux
