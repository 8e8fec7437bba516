// How soon a service that has died is started again.
#pragma once

#include <chrono>

namespace ZYNE::Linux {

// Of one service. For one thread at a time.
class RestartPauses {
public:
    static constexpr std::chrono::seconds STEADY_PAUSE{30};

    // The service has died after it has lived for `life`, which is nothing where it did not start. The time to wait
    // before its next start: none at first, then longer and longer, and STEADY_PAUSE from the fifth death in a row on. A
    // life of a minute ends the row.
    std::chrono::seconds TakeDeath(std::chrono::steady_clock::duration life);

    // Whether the pauses do not grow any more.
    bool IsSteady() const;
    // Whether the last death was the first of those.
    bool HasBecomeSteady() const;

private:
    int deaths_ = 0;  // in a row
};

}  // namespace ZYNE::Linux
