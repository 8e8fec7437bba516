// How one IPC request is sent.
#pragma once

namespace ZYNE {

class MessageOption {
public:
    static constexpr int SYNCHRONOUS = 0;

    explicit MessageOption(int flags = SYNCHRONOUS, int waitTimeSeconds = 8)
        : flags_(flags), waitTimeSeconds_(waitTimeSeconds) {}

    int GetFlags() const { return flags_; }
    // The longest that a synchronous request waits for its answer, in seconds.
    int GetWaitTime() const { return waitTimeSeconds_; }

private:
    int flags_;
    int waitTimeSeconds_;
};

}  // namespace ZYNE
