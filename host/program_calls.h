// Answers the calls of programs on threads of the pool, in turns, so that no program holds up another.
#pragma once

#include <chrono>
#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include <sdbus-c++/sdbus-c++.h>

#include "host/api_error.h"
#include "linux/base/call_queue.h"
#include "linux/base/thread_pool.h"

namespace ZYNE::Host {

// An error as the bus carries it.
sdbus::Error BusError(const ApiError& error);

// Runs `send`, which answers a call. If the caller is gone, that is logged.
void SendAnswer(const std::function<void()>& send);

// Any thread. It must outlive the pool's tasks, as must all who use it. A call is refused as Busy when too many wait,
// or the device is ending.
class ProgramCalls {
public:
    // How many run at once: for one peer, as many as it accepts from one device; for all peers, a quarter of the pool;
    // for the device's own, an eighth. Calls of one program that are not for peers run one after another, in its order.
    static constexpr Linux::CallQueue::Limits FOR_PEERS{128, 16, 4096, size_t{64} << 20U};
    static constexpr Linux::CallQueue::Limits OF_DEVICE{64, 1, 4096, size_t{64} << 20U};
    // How long a call for a peer may wait for its turn: it then takes up to five seconds, and the program waits for
    // ten.
    static constexpr std::chrono::seconds PATIENCE{4};

    struct Caller {
        std::string client;  // the program's connection
        size_t bytes;        // of the call's arguments
    };

    // `answered` is called when a pool thread has sent an answer, which may not have left the process yet.
    ProgramCalls(Linux::ThreadPool& pool, std::function<void()> answered)
        : pool_(pool), answered_(std::move(answered)) {}
    ProgramCalls(const ProgramCalls&) = delete;
    ProgramCalls& operator=(const ProgramCalls&) = delete;

    // Answers with the result of `operation`, or with the error that it throws; any but an ApiError becomes Failed.
    template <typename... Results>
    void Answer(sdbus::Result<Results...>&& result, Caller caller,
        std::type_identity_t<std::function<std::tuple<Results...>()>> operation) {
        Linux::CallQueue::Call call =
            MakeCall(std::move(result), std::optional<Clock::time_point>(), std::move(operation));
        call.target = std::move(caller.client);
        call.bytes = caller.bytes;
        Take(own_, std::move(call));
    }

    // The same for a call that waits for the device `peer`, a udid.
    template <typename... Results>
    void AnswerForPeer(sdbus::Result<Results...>&& result, Caller caller, std::string peer,
        std::type_identity_t<std::function<std::tuple<Results...>()>> operation) {
        Linux::CallQueue::Call call =
            MakeCall(std::move(result), std::optional(Clock::now() + PATIENCE), std::move(operation));
        call.target = std::move(peer);
        call.client = std::move(caller.client);
        call.bytes = caller.bytes;
        Take(peers_, std::move(call));
    }

    // Refuses the calls that wait, and all later ones.
    void Close();

private:
    using Clock = std::chrono::steady_clock;

    template <typename... Results>
    static Linux::CallQueue::Call MakeCall(sdbus::Result<Results...>&& result, std::optional<Clock::time_point> latest,
        std::function<std::tuple<Results...>()> operation) {
        const auto answer = std::make_shared<sdbus::Result<Results...>>(std::move(result));
        const auto fail = [answer](const ApiError& error) {
            SendAnswer([&] { answer->returnError(BusError(error)); });
        };
        const auto refuse = [fail] {
            fail(ApiError("Busy", "too many requests are under way, or the device is stopping"));
        };
        const auto run = [answer, fail, refuse, latest,
                             operation = std::make_shared<decltype(operation)>(std::move(operation))] {
            if (latest && Clock::now() > *latest) {
                refuse();
                return;
            }
            try {
                const std::tuple<Results...> results = (*operation)();
                SendAnswer(
                    [&] { std::apply([&](const Results&... each) { answer->returnResults(each...); }, results); });
            } catch (const ApiError& error) {
                fail(error);
            } catch (const std::exception& error) {
                fail(ApiError("Failed", error.what()));
            }
        };
        return {"", "", 0, run, refuse};
    }

    void Take(Linux::CallQueue& queue, Linux::CallQueue::Call call);
    void Start(Linux::CallQueue& queue);
    void Work(Linux::CallQueue& queue, Linux::CallQueue::Call call);

    Linux::ThreadPool& pool_;
    const std::function<void()> answered_;
    Linux::CallQueue peers_{FOR_PEERS};  // targets are peers
    Linux::CallQueue own_{OF_DEVICE};    // targets are clients
};

}  // namespace ZYNE::Host
