// How soon a service that has died is started again.
#pragma once

#include <chrono>

namespace ZYNE::Linux {

// Of one service. For one thread at a time.
class RestartPauses {
public:
    static constexpr std::chrono::seconds STEADY_PAUSE{30};

    // The service has died after running for `life`, which is 0 if it did not start. Returns the time to wait before
    // its next start: none at first, then longer and longer, and STEADY_PAUSE from the fifth death in a row on. After a
    // life of a minute the row starts again.
    std::chrono::seconds TakeDeath(std::chrono::steady_clock::duration life);

    // Whether the pauses have stopped growing.
    bool IsSteady() const;
    // Whether they stopped growing with the last death.
    bool HasBecomeSteady() const;

private:
    int deaths_ = 0;  // in a row
};

}  // namespace ZYNE::Linux
