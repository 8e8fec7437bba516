// The object of an app's extension that facts are asked of.
#pragma once

#include <chrono>
#include <functional>

#include "linux/apps/answer_breaker.h"
#include "linux/base/mutex.h"
#include "linux/bus/mortal_object.h"
#include "linux/bus/remote_object.h"

namespace ZYNE::Linux {

// Any thread. Waits for an answer for a time of its own, since the facts of other apps wait meanwhile, and spares who
// asks the wait while the process is known not to answer.
class ExtensionRemote final : public MortalObject {
public:
    // Dies with `remote`. `hung` is told once, on a thread that asks, when the process has left too many requests in a
    // row unanswered; the object is dead by then. `answerTime`: for one request.
    static sptr<ExtensionRemote> Make(
        Post post, const sptr<RemoteObject>& remote, std::chrono::milliseconds answerTime, std::function<void()> hung);

    int32_t SendRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;

private:
    using Clock = std::chrono::steady_clock;
    class DeathWatch;

    ExtensionRemote(
        Post post, const sptr<RemoteObject>& remote, std::chrono::milliseconds answerTime, std::function<void()> hung);
    bool MayAsk();
    void TakeResult(int32_t result, Clock::time_point sent);

    const sptr<RemoteObject> remote_;
    const std::chrono::milliseconds answerTime_;
    const std::function<void()> hung_;
    Mutex breakerMutex_;
    AnswerBreaker breaker_ GUARDED_BY(breakerMutex_);
};

}  // namespace ZYNE::Linux
