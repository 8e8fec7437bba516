// The users of a device: who is in the foreground, and what the configuration says of them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <latch>
#include <mutex>
#include <utility>

#include "host/config.h"
#include "linux/users/users.h"
#include "tests/scenario/process.h"

namespace ZYNE::Linux {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using Testing::Eventually;
using ::testing::HasSubstr;
using ::testing::Pair;

void Write(const fs::path& file, const std::string& text) {
    std::ofstream(file) << text;
}

template <typename Error>
std::string ErrorOf(const std::function<void()>& action) {
    try {
        action();
        return "none";
    } catch (const Error& error) {
        return error.what();
    }
}

class DeviceUsers : public ::testing::Test {
protected:
    DeviceUsers() {
        std::string path = (fs::temp_directory_path() / "cfwkXXXXXX").string();
        directory = mkdtemp(path.data());
        file = directory / "foreground_user";
        Start({{100, "Anna"}, {101, "Guest", OsAccountType::PRIVATE}, {102, "Ben"}});
    }
    ~DeviceUsers() override {
        users.Stop();
        const std::weak_ptr<int> left = std::exchange(token, nullptr);
        EXPECT_TRUE(Eventually([&] { return left.expired(); }));
        fs::remove_all(directory);
    }

    void Start(std::vector<User> all) {
        users.Start({std::move(all), file, [this, held = token](int32_t before, int32_t now) {
                         users.List();  // nobody holds the lock
                         const std::scoped_lock lock(mutex);
                         switches.emplace_back(before, now);
                     }});
    }
    static int32_t Foreground() {
        int32_t id = -1;
        return OsAccountManager::GetForegroundOsAccountLocalId(id) == USER_OK ? id : -1;
    }
    bool IsTold(size_t count) {
        return Eventually([&] {
            const std::scoped_lock lock(mutex);
            return switches.size() >= count;
        });
    }
    std::string SwitchError(int32_t id) {
        return ErrorOf<std::runtime_error>([&] { users.Switch(id); });
    }

    Users& users = Users::GetInstance();
    fs::path directory;
    fs::path file;
    std::shared_ptr<int> token = std::make_shared<int>();  // held by whoever may be told of a switch yet
    std::mutex mutex;
    std::vector<std::pair<int32_t, int32_t>> switches;
};

TEST_F(DeviceUsers, ChangePlacesOneAfterTheOtherAndAreNormalOrPrivate) {
    EXPECT_EQ(Foreground(), 100);
    users.Switch(101);
    users.Switch(101);
    EXPECT_EQ(Foreground(), 101);
    users.Switch(102);
    EXPECT_EQ(SwitchError(7), "there is no user 7; the users are: 100 (Anna), 101 (Guest), 102 (Ben)");
    users.Switch(100);
    EXPECT_TRUE(IsTold(3));
    EXPECT_THAT(switches, ElementsAre(Pair(100, 101), Pair(101, 102), Pair(102, 100)));

    OsAccountType type{};
    EXPECT_EQ(OsAccountManager::GetOsAccountType(101, type), USER_OK);
    EXPECT_EQ(static_cast<int32_t>(type), 1024);
    EXPECT_EQ(OsAccountManager::GetOsAccountType(102, type), USER_OK);
    EXPECT_EQ(type, OsAccountType::NORMAL);
    EXPECT_EQ(OsAccountManager::GetOsAccountType(7, type), USER_UNKNOWN);
}

TEST_F(DeviceUsers, ComeBackToTheForegroundWhenTheyAreStillThere) {
    users.Switch(102);
    users.Stop();
    Start({{100, "Anna"}, {102, "Ben"}});
    EXPECT_EQ(Foreground(), 102);
    Start({{100, "Anna"}, {101, "Guest"}});
    EXPECT_EQ(Foreground(), 100);
    for (const char* content : {"", "no number", "99999999999999999999"}) {
        Write(file, content);
        Start({{101, "Guest"}});
        EXPECT_EQ(Foreground(), 101) << content;
    }
}

TEST_F(DeviceUsers, StayWhereTheyAreWhenASwitchCannotBeKept) {
    fs::create_directory(directory / "foreground_user.new");
    EXPECT_THAT(SwitchError(101), HasSubstr("cannot be written"));
    EXPECT_EQ(Foreground(), 100);
    fs::remove(directory / "foreground_user.new");
    users.Switch(102);
    EXPECT_TRUE(IsTold(1));
    EXPECT_THAT(switches, ElementsAre(Pair(100, 102)));
}

TEST_F(DeviceUsers, AreGoneAfterTheStopAndNobodyIsToldAnew) {
    std::latch entered(1);
    std::latch gate(1);
    auto held = std::make_shared<int>();
    const std::weak_ptr<int> watch = held;
    int calls = 0;
    users.Start({{{1, "A"}, {2, "B"}}, file, [&, held = std::move(held)](int32_t, int32_t) {
                     ++calls;
                     entered.count_down();
                     gate.wait();
                 }});
    users.Switch(2);
    entered.wait();
    users.Switch(1);
    users.Stop();
    gate.count_down();
    EXPECT_TRUE(Eventually([&] { return watch.expired(); }));
    EXPECT_EQ(calls, 1);

    OsAccountType type{};
    EXPECT_EQ(Foreground(), -1);
    EXPECT_EQ(OsAccountManager::GetOsAccountType(1, type), USERS_NOT_UP);
    EXPECT_TRUE(users.List().empty());
    EXPECT_THAT(SwitchError(1), HasSubstr("starting or ending"));
}

struct UserConfig {
    const char* name;
    const char* text;
    const char* outcome;  // the users as "id name type", or what is wrong
};

class ConfiguredUsers : public ::testing::TestWithParam<UserConfig> {};

TEST_P(ConfiguredUsers, AreReadOrRefusedWithAReason) {
    std::string path = (fs::temp_directory_path() / "cfwkXXXXXX").string();
    const fs::path directory = mkdtemp(path.data());
    Write(directory / "device.toml",
        std::string(
            "[device]\nname = 'a'\ntype = 'pc'\nstate_directory = 's'\n[account]\nmode = 'open'\nname = 'b'\n") +
            GetParam().text);
    std::string outcome;
    const std::string error = ErrorOf<Host::ConfigError>([&] {
        for (const User& user : Host::ReadConfig(directory / "device.toml").users) {
            outcome += std::to_string(user.id) + " " + user.name + " " + std::to_string(int32_t(user.type)) + ";";
        }
    });
    EXPECT_THAT(error == "none" ? outcome : error, HasSubstr(GetParam().outcome));
    fs::remove_all(directory);
}

INSTANTIATE_TEST_SUITE_P(Users, ConfiguredUsers,
    ::testing::Values(UserConfig{"NoneIsOneNormalUser", "", "100 User 0;"},
        UserConfig{"Several",
            "[[user]]\nid = 100\nname = 'Anna'\n[[user]]\nid = 2147483647\nname = 'G'\ntype = 'private'",
            "100 Anna 0;2147483647 G 1024;"},
        UserConfig{"TheSameTwice", "[[user]]\nid = 1\nname = 'A'\n[[user]]\nid = 1\nname = 'B'",
            "device.toml:12: user.id 1 is another user's"},
        UserConfig{"NoId", "[[user]]\nname = 'A'", "device.toml:8: user.id is missing"},
        UserConfig{"AnIdThatIsTooLarge", "[[user]]\nid = 2147483648\nname = 'A'", "user.id must be a number"},
        UserConfig{"AnUnknownType", "[[user]]\nid = 1\nname = 'A'\ntype = 'x'", "is none of: normal, private"},
        UserConfig{"OneTableOnly", "[user]\nid = 1\nname = 'A'", "device.toml:8: user must be written as [[user]]"}),
    [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace ZYNE::Linux
