// A million steps of persons, faults and repairs: see simulated_world.h for what must hold after each.
#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <random>
#include <string>

#include "tests/companion/simulated_world.h"

namespace ZYNE::Companion {
namespace {

uint64_t FromEnvironment(const char* name, uint64_t otherwise) {
    const char* text = std::getenv(name);
    return text == nullptr ? otherwise : std::strtoull(text, nullptr, 10);
}

class RandomWalk : public testing::TestWithParam<size_t> {};

TEST_P(RandomWalk, KeepsThePointerAtOneDeviceAndNothingPressed) {
    const uint64_t seed = FromEnvironment("CFWK_SEED", std::random_device()());
    const uint64_t steps = FromEnvironment("CFWK_STEPS", CFWK_WALK_STEPS);
    RecordProperty("seed", std::to_string(seed));
    std::cout << "CFWK_SEED=" << seed << " CFWK_STEPS=" << steps << std::endl;

    SimulatedWorld world(seed, GetParam());
    for (uint64_t step = 0; step < steps; ++step) {
        world.Step();
        if (step % 20000 == 19999) {
            world.CrossAgain();
        }
        ASSERT_EQ(world.broken, "") << "at step " << step << " of CFWK_SEED=" << seed;
    }
    EXPECT_GT(world.visits, steps / 5000) << "the walk hardly ever crosses";
    std::cout << world.visits << " visits" << std::endl;
}

INSTANTIATE_TEST_SUITE_P(Devices, RandomWalk, testing::Values(2, 3));

}  // namespace
}  // namespace ZYNE::Companion
