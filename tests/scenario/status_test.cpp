// Settings, and what a device tells of its set-up.
#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <map>

#include "tests/scenario/scenario.h"

namespace ZYNE::Testing {
namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;

class Status : public Scenario {
protected:
    void SetUp() override {
        phone = &Add("phone", {.type = "phone"});
        phone->Start();
    }

    bool IsSetUp() { return phone->Api().GetSetup().complete; }
    void Set(const std::string& key, const std::string& value) {
        EXPECT_EQ(phone->Ctl({"setting", "put", key, value}).status, 0);
    }
};

TEST_F(Status, TellsWhatIsInTheWayOfSetUpUntilNothingIs) {
    EXPECT_THAT(phone->Ctl({"status"}).out,
        ContainsRegex(
            "phone\n.*open|account(.|\n)*none\n.*not complete\n(.|\n)*user_setup_complete +\\(not set\\) +yes"));
    Set("device_provisioned", "1");
    Set("user_setup_complete", "1");
    Set("is_ota_finished", "0");
    EXPECT_FALSE(IsSetUp());
    EXPECT_THAT(phone->Ctl({"status"}).out, ContainsRegex("user_setup_complete +1 +no\nis_ota_finished +0 +yes"));
    EXPECT_THAT(phone->Ctl({"status", "--json"}).out, HasSubstr("\"setupComplete\" : false"));
    Set("is_ota_finished", "1");
    EXPECT_TRUE(IsSetUp());

    // Once complete it stays so until the next start, which looks again.
    Set("device_provisioned", "0");
    EXPECT_TRUE(IsSetUp());
    phone->Stop();
    phone->Start();
    EXPECT_FALSE(IsSetUp());
}

TEST_F(Status, TellsHowTheDeviceIsConnectedAndToWhom) {
    Add("pc").Start();
    ASSERT_TRUE(Eventually([this] { return phone->Sees("pc"); }));
    const std::string id = phone->Api().Info().ListPeers().front().id;
    const Client::Network network = phone->Api().GetNetwork();
    ASSERT_EQ(network.links.size(), 1u);
    EXPECT_EQ(network.links[0].peerId, id);
    EXPECT_THAT(phone->Ctl({"status"}).out,
        ContainsRegex("NETWORK +up\nINTERFACE +lo  127.0.0.1.*\nPORT +" + std::to_string(network.port) + "\nLINK +" +
            id.substr(0, 4) + ".*" + network.links[0].address + "  pc\n"));
    EXPECT_THAT(phone->Ctl({"status", "--json"}).out, HasSubstr("\"address\" : \"" + network.links[0].address));
}

TEST_F(Status, KeepsSettingsOfEachUserAndOfAllUsersApartAndOverARestart) {
    auto api = phone->Api();
    api.Settings().Put("colour", "red", Client::Settings::ALL_USERS);
    api.Settings().Put("colour", "green", 100);
    api.Settings().Put("colour", "blue", 100);
    phone->Stop();
    phone->Start();
    EXPECT_EQ(phone->Ctl({"setting", "get", "colour"}).out, "red\n");
    EXPECT_EQ(phone->Ctl({"setting", "get", "colour", "--user", "100"}).out, "blue\n");
    const Outcome missing = phone->Ctl({"setting", "get", "shape", "--user", "100"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_THAT(missing.err, HasSubstr("shape"));
}

// A thread has its maker's name until it has its own.
#ifdef __SANITIZE_THREAD__
constexpr bool IS_WATCHED = true;
#else
constexpr bool IS_WATCHED = false;
#endif

TEST_F(Status, NeedsOneThreadForEachOfItsJobsAndNamesThem) {
    const std::string tasks = "/proc/" + std::to_string(phone->Pid()) + "/task";
    EXPECT_TRUE(Eventually([&] {
        std::map<std::string, int> threads;
        for (const auto& thread : std::filesystem::directory_iterator(tasks)) {
            std::ifstream comm(thread.path() / "comm");
            std::string name;
            std::getline(comm, name);
            ++threads[name];
        }
        // The sanitizer has one of its own, which nobody names.
        return threads["collabd"] == (IS_WATCHED ? 2 : 1) &&
            std::ranges::all_of(std::array{"collabd-bus", "collabd-guard", "collabd-log", "collabd-net"},
                [&](const char* name) { return threads[name] == 1; });
    }));
}

}  // namespace
}  // namespace ZYNE::Testing
