// What devices know of one another's profiles, and what their apps publish through them.
#include <sys/mount.h>

#include <atomic>
#include <csignal>
#include <fstream>
#include <thread>

#include "tests/scenario/scenario.h"

namespace ZYNE::Testing {
namespace {

using ::testing::AllOf;
using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr const char* SERVICE = "sound";
constexpr const char* TYPE = "audio";

int32_t Put(TestDevice& device, const std::string& key, const std::string& value) {
    return device.Api().Profiles().Put(SERVICE, TYPE, key, value);
}

class Profiles : public Scenario {
protected:
    void SetUp() override {
        phone = &Add("phone", {.type = "phone", .hasBoard = true});
        pc = &Add("pc", {.hasBoard = true});
    }

    // Until `asker` knows `value`, which may be nothing, of the phone's `key`.
    static bool Comes(TestDevice& asker, const std::string& key, const std::optional<std::string>& value) {
        return Eventually(
            [&] { return asker.Lists("phone") && asker.Api().Profiles().Get("phone", SERVICE, TYPE, key) == value; });
    }

    // A program that goes on printing to the file `output`, once it has begun to watch.
    std::unique_ptr<Process> Watch(const std::vector<std::string>& command) {
        auto process = std::make_unique<Process>(command, output);
        EXPECT_TRUE(ComesToPrint("watching"));
        return process;
    }

    bool ComesToPrint(const std::string& text) const {
        return Eventually([&] { return Count(ReadAll(output), text) > 0; });
    }

    const std::string output = directory / "watched.txt";
};

TEST_F(Profiles, ReachThePeerThatIsToldWhatWasAddedUpdatedAndDeleted) {
    StartBoth();
    const auto watch = Watch({COLLABCTL, "--device", "pc", "profile", "watch", "phone", "--service", SERVICE});

    EXPECT_EQ(phone->Ctl({"profile", "put", "volume", "7", "--service", SERVICE, "--type", TYPE}).status, 0);
    EXPECT_TRUE(ComesToPrint("added  phone  sound  volume  7"));
    EXPECT_EQ(pc->Ctl({"profile", "get", "phone", "volume", "--service", SERVICE}).out, "7\n");
    EXPECT_EQ(Put(*phone, "volume", "8"), 0);
    EXPECT_TRUE(ComesToPrint("updated  phone  sound  volume  8"));
    EXPECT_THAT(pc->Ctl({"profile", "list", "phone"}).out, ContainsRegex("phone +[^ ]+ +sound +audio +volume +8"));
    EXPECT_EQ(phone->Ctl({"profile", "delete", "volume", "--service", SERVICE}).status, 0);
    EXPECT_TRUE(ComesToPrint("deleted  phone  sound  volume  8"));
    EXPECT_EQ(pc->Ctl({"profile", "get", "phone", "volume", "--service", SERVICE}).status, 1);

    EXPECT_EQ(phone->Ctl({"profile", "put", "e", "", "--service", SERVICE, "--type", TYPE}).status, 0);
    EXPECT_TRUE(Comes(*pc, "e", ""));
    EXPECT_EQ(pc->Ctl({"profile", "get", "phone", "e", "--service", SERVICE}).out, "\n");

    watch->Signal(SIGINT);
    EXPECT_EQ(watch->Wait(), 0);
}

TEST_F(Profiles, AreCompleteWithTheirLastValuesForADeviceThatComesDuringABurstAndForOneThatReturns) {
    constexpr int KEYS = 500;
    const auto put = [this](const std::string& value) {
        auto api = phone->Api();
        for (int i = 0; i < KEYS; ++i) {
            ASSERT_EQ(api.Profiles().Put(SERVICE, TYPE, "key" + std::to_string(i), value), 0);
        }
    };
    phone->Start();
    put("old");
    pc->Start();
    put("new");
    for (int i = 0; i < KEYS; ++i) {
        ASSERT_TRUE(Comes(*pc, "key" + std::to_string(i), "new"));
    }
    pc->Stop();
    ASSERT_EQ(Put(*phone, "key0", "newer"), 0);
    ASSERT_EQ(phone->Api().Profiles().Delete(SERVICE, "key1"), 0);
    pc->Start();
    EXPECT_TRUE(Comes(*pc, "key0", "newer"));
    EXPECT_TRUE(Comes(*pc, "key1", std::nullopt));
    EXPECT_TRUE(Comes(*pc, "key2", "new"));

    // What is known is forgotten with the device.
    phone->Stop();
    EXPECT_TRUE(Comes(*pc, "key2", std::nullopt));
    phone->Start();
    EXPECT_EQ(phone->Api().Profiles().Get("phone", SERVICE, "", "key2"), "new");
    EXPECT_TRUE(Comes(*pc, "key2", "new"));
}

TEST_F(Profiles, KeepEveryValueThatWasAcknowledgedBeforeTheDeviceWasKilled) {
    phone->Start();
    std::atomic<int> acknowledged = 0;
    std::thread putting([&] {
        auto api = phone->Api();
        try {
            while (api.Profiles().Put(SERVICE, TYPE, "key" + std::to_string(acknowledged), "value") == 0) {
                ++acknowledged;
            }
        } catch (const Client::DeviceError&) {
        }
    });
    EXPECT_TRUE(Eventually([&] { return acknowledged >= 200; }));
    phone->Kill();
    putting.join();
    phone->Start();
    auto api = phone->Api();
    for (int i = 0; i < acknowledged; ++i) {
        ASSERT_EQ(api.Profiles().Get("phone", SERVICE, TYPE, "key" + std::to_string(i)), "value") << i;
    }
}

TEST_F(Profiles, CarryAnAppsChangeToTheAppOfThePeerAndItsValueToALaterRun) {
    StartBoth();
    const std::string board = pc->Directory() / "apps/org.example.deskboard/bin/desk_board";
    const auto watch = Watch({board, "--device", "phone", "watch"});

    EXPECT_EQ(RunCommand({board, "--device", "pc", "set", "Gone for lunch"}).status, 0);
    EXPECT_TRUE(ComesToPrint(R"(from pc  {"board.note" : "Gone for lunch"})"));
    EXPECT_EQ(phone->AskOne("pc", "board.note"), "Gone for lunch");

    // The app's own process is gone by then; the library asks its extension.
    pc->Stop();
    std::filesystem::remove(pc->Directory() / "state/profiles.db");
    pc->Start();
    EXPECT_TRUE(Eventually([this] {
        const auto value =
            phone->Api().Profiles().Get("pc", "infoCollection", "infoCollection", "infoCollectionCharacterKey");
        return value && value->find("Gone for lunch") != std::string::npos;
    }));
    watch->Signal(SIGTERM);
    EXPECT_EQ(watch->Wait(), 0);
}

TEST_F(Profiles, AreToldAnAppsObserverAgainWhenItsDeviceWasKilledAndHasStarted) {
    phone->Start();
    const std::string uri = "datashare:///org.example.deskboard/board";
    const Process observer(
        {"/usr/bin/env", "DBUS_STARTER_ADDRESS=" + phone->Entry()->busAddress, SHARE_APP, "watch", uri}, output);
    EXPECT_TRUE(ComesToPrint("done"));
    phone->Kill();
    phone->Start();
    EXPECT_TRUE(ComesToPrint("told of 0 bytes")) << "of what it may have missed";
    const std::string board = phone->Directory() / "apps/org.example.deskboard/bin/desk_board";
    EXPECT_EQ(RunCommand({board, "--device", "phone", "set", "back"}).status, 0);
    EXPECT_TRUE(Eventually([this] { return Count(ReadAll(output), "told of") == 2; }));
}

TEST_F(Profiles, OfATvAreSubscribedFiveTimesEachTimeThatItComesHoweverItLeftAndOfOthersTwice) {
    const auto subscribes = [](const TestDevice& device, size_t times) {
        return Eventually([&] { return device.CountInLog("SubscribeDeviceProfile ret: 0") == times; });
    };
    TestDevice& tv = Add("tv", {.type = "tv"});
    pc->Start();
    tv.Start();
    ASSERT_TRUE(subscribes(*pc, 5) && subscribes(tv, 2));
    tv.Kill();
    tv.Start();  // before it is missed
    ASSERT_TRUE(subscribes(*pc, 10));
    tv.Kill();
    ASSERT_TRUE(Eventually([this] { return pc->MissesPeer("tv"); }));
    tv.Start();
    ASSERT_TRUE(subscribes(*pc, 15));
    tv.Kill();
    tv.Start();
    tv.Stop();
    EXPECT_TRUE(Eventually([this] {
        return pc->MissesPeer("tv") &&
            pc->CountInLog("unsubscribe, characteristicKey") == pc->CountInLog("SubscribeDeviceProfile ret: 0");
    }));
    EXPECT_EQ(pc->CountInLog("device not exists"), 0U);
}

TEST_F(Profiles, AreToldAsJsonUntilTheDeviceEnds) {
    phone->Start();
    const auto watch = Watch({COLLABCTL, "--device", "phone", "profile", "watch", "--key", "large", "--json"});
    ASSERT_EQ(Put(*phone, "other", "x"), 0);
    std::string value = "x";
    for (int i = 0; i < 40000; ++i) {
        value += "\u00e4";  // two bytes, of which the limit would cut one in two
    }
    ASSERT_EQ(Put(*phone, "large", value), 0);
    EXPECT_TRUE(ComesToPrint("}"));
    EXPECT_THAT(ReadAll(output),
        AllOf(ContainsRegex("\"change\":\"added\",.*\"key\":\"large\""),
            HasSubstr("\"value\":\"" + value.substr(0, 65535) + "\",\"whole\":false}")));

    phone->Stop();
    EXPECT_EQ(watch->Wait(), 1);
    EXPECT_TRUE(ComesToPrint("has ended"));
}

TEST_F(Profiles, CannotHoldWhatIsNotTextOrTooLarge) {
    phone->Start();
    EXPECT_THAT(
        phone->Ctl({"profile", "put", "k", "\xff", "--service", SERVICE, "--type", TYPE}).err, HasSubstr("UTF-8"));
    EXPECT_NE(Put(*phone, "k", std::string((4 << 20) + 1, 'x')), 0);
    EXPECT_NE(Put(*phone, std::string(256, 'k'), "v"), 0);
    EXPECT_THAT(phone->Ctl({"status"}).out, ContainsRegex("NOTE +profile: sound/k is not published: it is too large"));
    EXPECT_EQ(phone->Api().Profiles().Get("phone", SERVICE, TYPE, "k"), std::nullopt);
    EXPECT_EQ(Put(*phone, "k", std::string(4 << 20, 'x')), 0);
    EXPECT_EQ(phone->Api().Profiles().Get("phone", SERVICE, TYPE, "k").value_or("").size(), size_t{4} << 20);
    EXPECT_THAT(phone->Ctl({"status"}).out, Not(HasSubstr("sound/k is not published")));
}

// A disk of its own for as long as it lives.
struct SmallDisk {
    explicit SmallDisk(std::filesystem::path thePath) : path(std::move(thePath)) {
        std::filesystem::create_directory(path);
        isThere = mount("tmpfs", path.c_str(), "tmpfs", 0, "size=8m,mode=0700") == 0;
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;
    ~SmallDisk() {
        if (isThere) {
            umount2(path.c_str(), MNT_DETACH);
        }
    }
    void Fill() const {
        while (std::ofstream(path / "filler", std::ios::app) << std::string(4096, 'f') << std::flush) {
        }
    }

    const std::filesystem::path path;
    bool isThere = false;
};

TEST_F(Profiles, AreThereOnAFullDiskAndCanBeDeletedThere) {
    const SmallDisk disk(phone->Directory() / "state");
    if (!disk.isThere) {
        GTEST_SKIP() << "only root can mount a small disk";
    }
    phone->Start();
    ASSERT_EQ(Put(*phone, "large", std::string(1'000'000, 'x')), 0);
    EXPECT_THAT(phone->Ctl({"status"}).out, Not(HasSubstr("disk full")));
    ASSERT_EQ(phone->Stop(), 0);
    disk.Fill();
    phone->Start();
    EXPECT_THAT(phone->Ctl({"status"}).out, ContainsRegex("NOTE +disk: disk full: "));
    EXPECT_EQ(phone->Api().Profiles().Get("phone", SERVICE, TYPE, "large").value_or("").size(), 1'000'000U);
    EXPECT_EQ(Put(*phone, "more", std::string(2'000'000, 'x')), 7);
    EXPECT_THAT(phone->Ctl({"status"}).out, ContainsRegex("NOTE +disk: disk full: [^ ]+profiles.db"));
    EXPECT_EQ(phone->Api().Profiles().Delete(SERVICE, "large"), 0);
    EXPECT_EQ(
        Put(*phone, "more", std::string(500'000, 'x')), 7);  // in the file there is room, ahead of it there is none
    std::filesystem::remove(disk.path / "filler");
    EXPECT_EQ(Put(*phone, "more", "x"), 0);
    EXPECT_THAT(phone->Ctl({"status"}).out, Not(HasSubstr("profiles.db")));
    EXPECT_EQ(phone->Stop(), 0);
}

TEST_F(Profiles, EndWithTheirDeviceWhenItsRuntimeDirectoryVanishes) {
    phone->Start();
    const auto watch = Watch({COLLABCTL, "--device", "phone", "profile", "watch"});
    std::filesystem::remove_all(Client::FindDevice("phone")->runtimeDirectory);
    EXPECT_EQ(watch->Wait(), 1);
    EXPECT_EQ(phone->Stop(), 1);
}

}  // namespace
}  // namespace ZYNE::Testing
