// Which calls run and which wait for their turn, without a thread for one that waits.
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "linux/base/mutex.h"

namespace ZYNE::Linux {

// Any thread; runs nothing itself. Targets take turns, and so do the clients of one target: a client that calls a lot
// delays only itself. Each Enter and each Leave gives Next at most one more call.
class CallQueue {
public:
    struct Limits {
        size_t atOnce;        // calls
        size_t ofOneTarget;   // of them
        size_t waiting;       // calls
        size_t waitingBytes;  // of their arguments
    };
    struct Call {
        std::string target;
        std::string client;
        size_t bytes;  // of its arguments
        std::function<void()> run;
        std::function<void()> refuse;
    };

    explicit CallQueue(const Limits& limits) : limits_(limits) {}

    // False when the call would have to wait and too much waits already, or when closed; the call is then untouched.
    bool Enter(Call& call);

    // The call whose turn it is; it is under way until Leave with its target.
    std::optional<Call> Next();
    void Leave(const std::string& target);

    // Takes no further call, and returns those that wait.
    std::vector<Call> Close();

private:
    struct Target {
        size_t underWay = 0;
        std::map<std::string, std::deque<Call>> waiting;  // by client, none without calls
        std::deque<std::string> turns;                    // the clients of `waiting`
    };

    bool HasTurn(const Target& target) const { return !target.turns.empty() && target.underWay < limits_.ofOneTarget; }
    bool StartsAtOnce(const Call& call) const REQUIRES(mutex_);
    Call TakeFrom(Target& target) REQUIRES(mutex_);

    const Limits limits_;
    Mutex mutex_;                                               // a leaf
    std::map<std::string, Target> targets_ GUARDED_BY(mutex_);  // none without calls
    std::deque<std::string> turns_ GUARDED_BY(mutex_);          // the targets that have a turn, each once
    size_t underWay_ GUARDED_BY(mutex_) = 0;
    size_t waiting_ GUARDED_BY(mutex_) = 0;
    size_t waitingBytes_ GUARDED_BY(mutex_) = 0;
    bool isClosed_ GUARDED_BY(mutex_) = false;
};

}  // namespace ZYNE::Linux
