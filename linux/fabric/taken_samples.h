// Takes what has arrived at a reader, one sample after the other.
#pragma once

#include <array>
#include <cstddef>

#include <dds/dds.h>

namespace ZYNE::Linux {

// Walks through everything that has arrived and all that arrives meanwhile. A sample belongs to the reader and is valid
// until the next one. One thread.
template <typename T>
class TakenSamples {
public:
    explicit TakenSamples(dds_entity_t reader) : reader_(reader) {}
    TakenSamples(const TakenSamples&) = delete;
    TakenSamples& operator=(const TakenSamples&) = delete;
    ~TakenSamples() { Return(); }

    // Goes to the next sample. False when there is none.
    bool Next() {
        if (++at_ < count_) {
            return true;
        }
        Return();
        count_ = dds_take(reader_, samples_.data(), infos_.data(), samples_.size(), samples_.size());
        at_ = 0;
        return count_ > 0;
    }

    // Whether samples are taken that have not been gone to yet: who stops now loses them.
    bool IsInTheMiddle() const { return at_ + 1 < count_; }

    const T& Sample() const { return *static_cast<const T*>(samples_[static_cast<size_t>(at_)]); }
    const dds_sample_info_t& Info() const { return infos_[static_cast<size_t>(at_)]; }

private:
    static constexpr size_t AT_ONCE = 32;

    void Return() {
        if (count_ > 0) {
            dds_return_loan(reader_, samples_.data(), count_);
        }
        samples_.fill(nullptr);
        count_ = 0;
    }

    const dds_entity_t reader_;
    std::array<void*, AT_ONCE> samples_{};  // null where the reader is to lend its own memory
    std::array<dds_sample_info_t, AT_ONCE> infos_{};
    int32_t count_ = 0;
    int32_t at_ = 0;
};

}  // namespace ZYNE::Linux
