// What tests of the Linux side share: a device and a directory that go with the test, a bus in it, and a record of what
// was told.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "linux/linux_device.h"
#include "tests/scenario/process.h"

namespace ZYNE::Linux {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using Testing::Eventually;
using ::testing::HasSubstr;

// Has a directory of its own.
class PortTest : public ::testing::Test {
protected:
    PortTest() {
        std::string path = (fs::temp_directory_path() / "cfwkXXXXXX").string();
        directory = mkdtemp(path.data());
    }
    ~PortTest() override { fs::remove_all(directory); }

    // A file, with the directories above it.
    static void Write(const fs::path& file, const std::string& text) {
        fs::create_directories(file.parent_path());
        std::ofstream(file) << text;
    }

    fs::path directory;
};

// The network of a device that is alone until somebody dials it.
inline FabricOptions OpenNetwork(const fs::path& directory, const std::string& udid) {
    FabricOptions options;
    options.deviceName = "self";
    options.trust = FabricOptions::Trust::OPEN;
    options.accountName = directory.filename();
    options.udid = udid;
    options.stateDirectory = directory;
    options.port = 0;
    options.hasBeacon = false;
    return options;
}

// Has a device too, of which nothing runs.
class DeviceTest : public PortTest {
protected:
    ~DeviceTest() override { device.Stop(); }

    LinuxDevice device;
};

// Has a bus without apps too.
class BusTest : public DeviceTest {
protected:
    BusTest() { StartBus(); }
    void StartBus() { device.bus.Start({directory / "run", {}, {}}); }
};

// What was told, in order. Any thread.
template <typename T>
class Told {
public:
    void Add(T what) {
        const std::scoped_lock lock(mutex_);
        all_.push_back(std::move(what));
    }
    std::vector<T> All() const {
        const std::scoped_lock lock(mutex_);
        return all_;
    }
    bool Reaches(size_t count) const {
        return Eventually([&] { return All().size() >= count; });
    }
    // All, as soon as `last` is the last of them.
    std::vector<T> Until(const T& last) const {
        EXPECT_TRUE(Eventually([&] {
            const std::vector<T> all = All();
            return !all.empty() && all.back() == last;
        })) << "missing: "
            << ::testing::PrintToString(last);
        return All();
    }

private:
    mutable std::mutex mutex_;
    std::vector<T> all_;  // guarded by mutex_
};

}  // namespace ZYNE::Linux
