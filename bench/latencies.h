// The durations of many runs of one operation.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <vector>

namespace ZYNE::Bench {

class Latencies {
public:
    // Runs `operation` and keeps how long it took.
    template <typename Operation>
    void Time(Operation operation) {
        const auto start = std::chrono::steady_clock::now();
        operation();
        Add(std::chrono::steady_clock::now() - start);
    }
    void Add(std::chrono::duration<double, std::micro> taken) { microseconds_.push_back(taken.count()); }

    // The duration, in microseconds, that `percent` of the runs did not pass.
    double Percentile(double percent) {
        std::sort(microseconds_.begin(), microseconds_.end());
        const auto rank = static_cast<size_t>(static_cast<double>(microseconds_.size()) * percent / 100);
        return microseconds_[std::min(rank, microseconds_.size() - 1)];
    }
    size_t Size() const { return microseconds_.size(); }

private:
    std::vector<double> microseconds_;
};

}  // namespace ZYNE::Bench
