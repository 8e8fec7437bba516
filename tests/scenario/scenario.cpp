#include "tests/scenario/scenario.h"

#include <unistd.h>

#include <cstdlib>
#include <iostream>

namespace ZYNE::Testing {
namespace fs = std::filesystem;

Scenario::Scenario() {
    std::string path = (fs::temp_directory_path() / "cfwkXXXXXX").string();
    directory = mkdtemp(path.data());
    setenv("XDG_RUNTIME_DIR", directory.c_str(), 1);
}

void Scenario::TearDown() {
    for (const auto& [name, device] : devices) {
        EXPECT_EQ(device->Stop(endTime), 0) << name;
    }
}

Scenario::~Scenario() {
    for (const auto& [name, device] : devices) {
        if (HasFailure()) {
            std::cerr << "--- log of " << name << "\n" << ReadAll(device->Directory() / "state" / "device.log");
        }
    }
    devices.clear();
    fs::remove_all(directory);
}

TestDevice& Scenario::Add(const std::string& name, const DeviceSetup& setup) {
    return *devices.emplace(name, std::make_unique<TestDevice>(directory / name, name, setup)).first->second;
}

void Scenario::StartPhoneAndPc() {
    phone = &Add("phone", {.type = "phone"});
    pc = &Add("pc", {.hasTestProvider = true});
    StartBoth();
}

void Scenario::StartBoth() {
    phone->Start();
    pc->Start();
    ASSERT_TRUE(Eventually([this] { return phone->Sees("pc") && pc->Sees("phone"); }));
}

}  // namespace ZYNE::Testing
