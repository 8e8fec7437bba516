// Memory that is out for one thread while an object of this lives.
//
//     const ScarceMemory scarce(sizeof(Thing));
//     EXPECT_FALSE(MakeSptr<Thing>());
#pragma once

#include <cstddef>

namespace ZYNE::Testing {

// One at a time on a thread. Only allocations that may give null are refused; what throws goes on as before.
class ScarceMemory {
public:
    static constexpr std::size_t ANY_SIZE = 0;

    // Refuses objects of `size` bytes.
    explicit ScarceMemory(std::size_t size = ANY_SIZE);
    ~ScarceMemory();
    ScarceMemory(const ScarceMemory&) = delete;
    ScarceMemory& operator=(const ScarceMemory&) = delete;
};

}  // namespace ZYNE::Testing
