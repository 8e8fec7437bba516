#include "host/program_calls.h"

#include "client/bus_library.h"
#include "host/bus_text.h"
#include "linux/base/log_domains.h"
#include "platform/log/log_print.h"

namespace ZYNE::Host {
namespace {

using Linux::CallQueue;

constexpr LogDomain LOG = Linux::LogDomains::DEVICE;
constexpr int32_t INFO_COLLECTION = 2;

}  // namespace

sdbus::Error BusError(const ApiError& error) {
    return {Client::BusErrorName("io.collaborationfwk.Error." + error.Name()), BusText(error.what())};
}

void SendAnswer(const std::function<void()>& send) {
    try {
        send();
    } catch (const sdbus::Error& error) {
        LogPrint(LogType::CORE, LogLevel::WARN, LOG, "a program was not answered: %{public}s", error.getMessage());
    }
}

void ProgramCalls::Close() {
    for (CallQueue* queue : {&peers_, &own_}) {
        for (const CallQueue::Call& call : queue->Close()) {
            call.refuse();
        }
    }
}

void ProgramCalls::Take(CallQueue& queue, CallQueue::Call call) {
    if (queue.Enter(call)) {
        Start(queue);
    } else {
        call.refuse();
    }
}

void ProgramCalls::Start(CallQueue& queue) {
    while (std::optional<CallQueue::Call> next = queue.Next()) {
        const auto call = std::make_shared<CallQueue::Call>(std::move(*next));
        if (!pool_.AddAsynTask([this, &queue, call] { Work(queue, std::move(*call)); }, INFO_COLLECTION)) {
            call->refuse();
            queue.Leave(call->target);
        }
    }
}

// The same thread goes on with the next call, so no other one has to wake up for it.
void ProgramCalls::Work(CallQueue& queue, CallQueue::Call call) {
    for (std::optional<CallQueue::Call> next(std::move(call)); next; next = queue.Next()) {
        next->run();
        answered_();
        queue.Leave(next->target);
    }
}

}  // namespace ZYNE::Host
