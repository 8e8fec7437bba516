// One simulated device: a fake of every service that the library uses, one journal, simulated time.
//
//     class RemoteInfo : public LibraryTest {};
//     TEST_F(RemoteInfo, GivesUpAfterFiveSeconds) {
//         EXPECT_EQ(Ask({"hostname"}), 2201);
//         EXPECT_EQ(device.time.Elapsed(), 5s);
//     }
//
// The library reaches the device that was made last; before the first, while the library's static objects are built,
// the boot device.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/fake_apps.h"
#include "tests/support/fake_data_share.h"
#include "tests/support/fake_device_manager.h"
#include "tests/support/fake_device_profile_client.h"
#include "tests/support/fake_host.h"
#include "tests/support/fake_input.h"
#include "tests/support/fake_pool.h"
#include "tests/support/fake_remote.h"
#include "tests/support/fake_system_abilities.h"
#include "tests/support/fake_users.h"
#include "tests/support/journal.h"
#include "tests/support/simulated_time.h"

namespace ZYNE {

// What nearly every test needs.
using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsSupersetOf;

namespace CollaborationFwk {

// Gives a test a library as it is right after it was loaded. No thread may be inside the library.
class LibraryRenewer {
public:
    static void RenewAll();
};

}  // namespace CollaborationFwk

namespace Testing {

class SimulatedDevice {
public:
    SimulatedDevice();
    ~SimulatedDevice();
    SimulatedDevice(const SimulatedDevice&) = delete;
    SimulatedDevice& operator=(const SimulatedDevice&) = delete;

    static SimulatedDevice& Boot();
    static SimulatedDevice& Current();

    // Without a handler it answers that all is well.
    sptr<FakeRemote> MakeRemote(
        const std::string& name, FakeRemote::Handler handler = [](auto&&...) { return 0; }) {
        return MakeSptr<FakeRemote>(journal, name, std::move(handler));
    }
    // An app's service that answers for each item what `tell` makes of it.
    sptr<FakeRemote> MakeApp(const std::string& name, std::function<std::u16string(const std::u16string& item)> tell) {
        return MakeRemote(name, [tell](uint32_t, MessageParcel& data, MessageParcel& reply) {
            return reply.WriteUint32(0) && reply.WriteString16(tell(data.ReadString16())) ? 0 : -1;
        });
    }
    // A system service that answers each request with `text`.
    sptr<FakeRemote> MakeService(const std::string& text) {
        return MakeRemote(
            "service", [text](auto&&, auto&&, MessageParcel& reply) { return reply.WriteString(text) ? 0 : -1; });
    }

    Journal journal;
    SimulatedTime time;
    FakePool pool{journal};
    FakeHost host{journal};
    FakeSystemAbilities systemAbilities{journal};
    FakeApps apps{journal};
    FakeDeviceProfileClient profiles{journal};
    FakeDataShare dataShare{journal};
    FakeDeviceManager deviceManager{journal};
    FakeInput input{journal};
    FakeUsers users{journal};
    std::string systemRoot;  // stands before the path of every file of the system partition

private:
    SimulatedDevice* previous_;
};

// Starts each case with a fresh device and a fresh library on it.
class LibraryTest : public ::testing::Test {
protected:
    using Texts = std::vector<std::string>;
    // Where in a test something is expected.
    struct Place {
        static Place Current(const char* file = __builtin_FILE(), int line = __builtin_LINE()) { return {file, line}; }

        const char* file;
        int line;
    };

    LibraryTest();
    ~LibraryTest() override;

    // What the journal is to hold: in all; of calls; of lines; of the lines of one function; as its last line.
    void ExpectAll(const Texts& expected, const Place& place = Place::Current()) const {
        Expect(device.journal.All(), expected, place);
    }
    void ExpectCalls(const Texts& expected, const Place& place = Place::Current()) const {
        Expect(device.journal.Calls(), expected, place);
    }
    void ExpectLines(const Texts& expected, const Place& place = Place::Current()) const {
        Expect(device.journal.Lines(), expected, place);
    }
    void ExpectLinesOf(
        const std::string& function, const Texts& expected, const Place& place = Place::Current()) const {
        Expect(device.journal.LinesOf(function), expected, place);
    }
    void ExpectLast(const std::string& line, const Place& place = Place::Current()) const {
        const Texts lines = device.journal.Lines();
        Expect({lines.empty() ? "" : lines.back()}, {line}, place);
    }
    // How often it holds a text; that it holds each of some, or one not.
    void ExpectCount(const std::string& text, size_t count, const Place& place = Place::Current()) const {
        Expect(Texts(device.journal.Count(text), text), Texts(count, text), place);
    }
    void ExpectHas(const auto&... texts) const {
        for (const std::string& text : {std::string(texts)...}) {
            EXPECT_TRUE(device.journal.Has(text)) << text;
        }
    }
    void ExpectHasNot(const std::string& text) const { EXPECT_FALSE(device.journal.Has(text)) << text; }

    SimulatedDevice device;

private:
    static void Expect(const Texts& actual, const Texts& expected, const Place& place) {
        const ::testing::ScopedTrace trace(place.file, place.line, "expected");
        EXPECT_THAT(actual, ::testing::ElementsAreArray(expected));
    }
};

}  // namespace Testing
}  // namespace ZYNE
