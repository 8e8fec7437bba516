// The users of a device, and who is in the foreground.
#include <latch>

#include "linux/device/users.h"
#include "tests/port/port_test.h"

namespace ZYNE::Linux {
namespace {

using ::testing::Pair;
using ::testing::ThrowsMessage;

class DeviceUsers : public DeviceTest {
protected:
    DeviceUsers() {
        file = directory / "foreground_user";
        Start({{100, "Anna"}, {101, "Guest", OsAccountType::PRIVATE}, {102, "Ben"}});
    }
    ~DeviceUsers() override {
        users.Stop();
        const std::weak_ptr<int> left = std::exchange(token, nullptr);
        EXPECT_TRUE(Eventually([&] { return left.expired(); }));
    }

    void Start(std::vector<User> all) {
        users.Start({std::move(all), file, [this, held = token](int32_t before, int32_t now) {
                         users.List();  // nobody holds the lock
                         switches.Add({before, now});
                     }});
    }
    static int32_t Foreground() {
        int32_t id = -1;
        return OsAccountManager::GetForegroundOsAccountLocalId(id) == USER_OK ? id : -1;
    }
    void ExpectNoSwitch(int32_t id, const std::string& reason) {
        EXPECT_THAT([&] { users.Switch(id); }, ThrowsMessage<std::runtime_error>(HasSubstr(reason)));
    }

    Users& users = device.users;
    fs::path file;
    std::shared_ptr<int> token = std::make_shared<int>();  // held by whoever may be told of a switch yet
    Told<std::pair<int32_t, int32_t>> switches;
};

TEST_F(DeviceUsers, ChangePlacesOneAfterTheOtherUnlessThatCannotBeKeptAndAreNormalOrPrivate) {
    EXPECT_EQ(Foreground(), 100);
    users.Switch(101);
    users.Switch(101);
    EXPECT_EQ(Foreground(), 101);
    fs::create_directory(directory / "foreground_user.new");
    ExpectNoSwitch(102, "cannot be written");
    EXPECT_EQ(Foreground(), 101);
    fs::remove(directory / "foreground_user.new");
    users.Switch(102);
    ExpectNoSwitch(7, "there is no user 7; the users are: 100 (Anna), 101 (Guest), 102 (Ben)");
    users.Switch(100);
    EXPECT_THAT(switches.Until({102, 100}), ElementsAre(Pair(100, 101), Pair(101, 102), Pair(102, 100)));

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
    ExpectNoSwitch(1, "starting or ending");
}

}  // namespace
}  // namespace ZYNE::Linux
