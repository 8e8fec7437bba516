// The devices of one test, in a directory of their own.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <memory>
#include <string>

#include "tests/scenario/test_device.h"

namespace ZYNE::Testing {

class Scenario : public ::testing::Test {
protected:
    Scenario();
    ~Scenario() override;
    // Stops what still runs: each device must end well, also in the eyes of a sanitizer.
    void TearDown() override;

    // Makes a device, and its account where that is new. Not started yet.
    TestDevice& Add(const std::string& name, const DeviceSetup& setup = {});
    // Starts the phone and the PC, which the test has made, and waits until they see each other.
    void StartBoth();
    // A phone and a PC with the test provider, started, that see each other.
    void StartPhoneAndPc();

    std::filesystem::path directory;
    std::chrono::seconds endTime{30};  // in which a device must end
    std::map<std::string, std::unique_ptr<TestDevice>> devices;
    TestDevice* phone = nullptr;
    TestDevice* pc = nullptr;
};

}  // namespace ZYNE::Testing
