// The device profile with a network that the test plays, and between two devices over a link that the test plays.
#include <atomic>
#include <deque>
#include <functional>
#include <future>
#include <latch>
#include <map>
#include <memory>
#include <optional>
#include <semaphore>
#include <stdexcept>
#include <thread>

#include "linux/base/database.h"
#include "linux/network/link/secure_channel.h"
#include "linux/network/profile/profile_exchange.h"
#include "linux/profile/profile_service.h"
#include "tests/port/port_test.h"
#include "tests/support/profile_listener.h"

namespace ZYNE::Linux {
namespace {

using ::testing::IsEmpty;
using ::testing::Not;
using Testing::ProfileListener;
using Testing::SubscriptionOf;
using ::testing::UnorderedElementsAre;

const std::string SELF(64, 'a');
const std::string DESK(64, 'b');
const std::string OTHER(64, 'c');
constexpr WriterId FIRST_RUN = 1;
constexpr WriterId SECOND_RUN = 2;

CharacteristicProfile Profile(const std::string& device, const std::string& key, const std::string& value) {
    return Testing::ProfileOf(device, "music", key, value);
}

RecordPtr Record(const std::string& key, const std::string& value) {
    return std::make_shared<ProfileRecord>(ProfileRecord{ProfileKind::CHARACTERISTIC, Profile(DESK, key, value)});
}

// "+key=value", "~key=value", "-key".
std::string Describe(ProfileChangeType change, const CharacteristicProfile& profile) {
    const std::string& key = profile.GetCharacteristicKey();
    if (change == ProfileChangeType::CHARACTERISTIC_DELETE) {
        return '-' + key;
    }
    return (change == ProfileChangeType::CHARACTERISTIC_ADD ? '+' : '~') + key + '=' + profile.GetCharacteristicValue();
}

// A listener that has it told.
ProfileListener::Handler Telling(Told<std::string>& told) {
    return [&](ProfileChangeType change, const CharacteristicProfile& profile) {
        told.Add(Describe(change, profile));
    };
}

// Keeps what is published: "key=value", "-key".
class PlayedNetwork final : public ProfileNetwork {
public:
    void Publish(const RecordPtr& record, bool isDeleted) override {
        const CharacteristicProfile& profile = record->profile;
        published.push_back(isDeleted ? '-' + profile.GetCharacteristicKey()
                                      : profile.GetCharacteristicKey() + '=' + profile.GetCharacteristicValue());
    }

    std::vector<std::string> published;
};

class DeviceProfileTest : public DeviceTest {
protected:
    DeviceProfileTest() { profiles.Open(directory / "profiles.db", SELF); }
    ~DeviceProfileTest() override {
        profiles.Leave();
        profiles.Close();
    }

    int32_t Put(const std::string& key, const std::string& value, const std::string& owner = "LOCAL") {
        return profiles.PutCharacteristicProfile(Profile(owner, key, value));
    }
    std::string Get(const std::string& owner, const std::string& key) {
        CharacteristicProfile profile;
        return profiles.GetCharacteristicProfile(owner, "music", key, profile) == PROFILE_OK
            ? profile.GetCharacteristicValue()
            : "none";
    }
    void Subscribe(const std::string& owner, const std::string& key) {
        EXPECT_EQ(profiles.SubscribeDeviceProfile(SubscriptionOf(owner, "music", key, Telling(told))), PROFILE_OK);
    }
    // With a listener that is blocked in its first call until `release`.
    SubscribeInfo Blocking(const std::string& owner, const std::string& key) {
        return SubscriptionOf(
            owner, "music", key, [this](ProfileChangeType change, const CharacteristicProfile& profile) {
                blocked.release();
                release.wait();
                slow.Add(Describe(change, profile));
            });
    }

    ProfileService& profiles = device.profiles;
    Told<std::string> told;
    Told<std::string> slow;  // after `release`
    std::counting_semaphore<> blocked{0};
    std::latch release{1};
};

TEST_F(DeviceProfileTest, KeepsWhatThisDevicePublishesUnderEitherOfItsNamesAndIsNotReadyWhileClosed) {
    EXPECT_EQ(Put("song", "old"), PROFILE_OK);
    EXPECT_EQ(Put("song", "new", SELF), PROFILE_OK);
    EXPECT_EQ(Put("empty", ""), PROFILE_OK);
    EXPECT_EQ(Put("bytes", std::string("\0\xff", 2)), PROFILE_OK);
    EXPECT_EQ(Put("gone", "x"), PROFILE_OK);
    EXPECT_EQ(profiles.Delete("music", "gone"), PROFILE_OK);
    EXPECT_EQ(profiles.Delete("music", "gone"), PROFILE_UNKNOWN);
    ServiceProfile service;
    service.SetDeviceId("LOCAL");
    service.SetServiceName("music");
    service.SetServiceType("player");
    EXPECT_EQ(profiles.PutServiceProfile(service), PROFILE_OK);
    profiles.Close();
    profiles.Open(directory / "profiles.db", SELF);

    std::vector<std::string> list;
    for (const ProfileService::KnownProfile& known : profiles.List("LOCAL")) {
        EXPECT_EQ(known.profile.GetDeviceId(), SELF);
        list.push_back(known.serviceType + ' ' + known.profile.GetCharacteristicKey() + '=' +
            known.profile.GetCharacteristicValue());
    }
    EXPECT_THAT(list, ElementsAre(std::string("player bytes=\0\xff", 15), "player empty=", "player song=new"));
    EXPECT_EQ(Get("LOCAL", "song"), "new");
    EXPECT_EQ(Get(SELF, "song"), "new");

    profiles.Close();
    EXPECT_EQ(Put("song", "x"), 98566160);
    CharacteristicProfile profile;
    EXPECT_EQ(profiles.GetCharacteristicProfile("LOCAL", "music", "song", profile), 98566160);
    const SubscribeInfo info = SubscriptionOf(DESK, "music", "song", Telling(told));
    EXPECT_EQ(profiles.SubscribeDeviceProfile(info), 98566160);
    EXPECT_EQ(profiles.UnSubscribeDeviceProfile(info), 98566160);
    EXPECT_EQ(profiles.Delete("music", "song"), 98566160);
}

TEST_F(DeviceProfileTest, RefusesWhatIsNotItsOwnOrOutOfBounds) {
    EXPECT_EQ(Put("song", "x", DESK), PROFILE_NOT_OWN);
    EXPECT_EQ(Put(std::string("a\0b", 3), "x"), PROFILE_INVALID_ARGUMENT);
    EXPECT_EQ(Put(std::string(255, 'k'), "x"), PROFILE_OK);
    EXPECT_EQ(Put(std::string(256, 'k'), "x"), PROFILE_TOO_LARGE);
    const std::string largest(ProfileBounds::VALUE_BYTES, 'v');
    EXPECT_EQ(Put("large", largest + 'v'), PROFILE_TOO_LARGE);
    EXPECT_EQ(Put("1", largest), PROFILE_OK);
    EXPECT_EQ(Put("2", largest), PROFILE_OK);
    EXPECT_EQ(Put("3", largest), PROFILE_OK);
    EXPECT_EQ(Put("4", largest), PROFILE_TOO_LARGE);
    EXPECT_EQ(Put("1", largest + 'v'), PROFILE_TOO_LARGE);
    EXPECT_EQ(Put("1", std::string(largest.size(), 'w')), PROFILE_OK);
    for (size_t i = 4; i < ProfileBounds::RECORDS; ++i) {
        ASSERT_EQ(Put('n' + std::to_string(i), ""), PROFILE_OK);
    }
    EXPECT_EQ(Put("one more", ""), PROFILE_TOO_MANY);
    EXPECT_EQ(Put("1", ""), PROFILE_OK);
    SubscribeInfo noListener;
    EXPECT_EQ(profiles.SubscribeDeviceProfile(noListener), PROFILE_INVALID_ARGUMENT);
}

TEST_F(DeviceProfileTest,
    TellsASubscriptionThatIsMadeTwiceOfEachChangeOnceAndNoneThatHasEndedOrAsksForOtherUsersOrChanges) {
    Put("song", "0");
    const SubscribeInfo info = SubscriptionOf(SELF, "music", "song", Telling(told));
    std::map<int32_t, Told<std::string>> deletions;  // by the user that is asked for
    for (const int32_t user : {101, 102}) {
        SubscribeInfo narrow;
        narrow.SetSubscribeKey(SELF, "music", "song", "characteristicValue", user);
        narrow.AddProfileChangeType(ProfileChangeType::CHARACTERISTIC_DELETE);
        narrow.SetListener(MakeSptr<ProfileListener>(Telling(deletions[user])));
        EXPECT_EQ(profiles.SubscribeDeviceProfile(narrow), PROFILE_OK);
    }
    EXPECT_EQ(profiles.SubscribeDeviceProfile(info), PROFILE_OK);
    told.Until("+song=0");
    EXPECT_EQ(profiles.SubscribeDeviceProfile(info), PROFILE_OK);  // anew: it is told of what there is
    told.Reaches(2);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(Put("song", "1"), PROFILE_OK);
    }
    told.Until("~song=1");
    EXPECT_EQ(profiles.Delete("music", "song"), PROFILE_OK);
    told.Until("-song");
    EXPECT_EQ(Put("song", "1"), PROFILE_OK);
    told.Until("+song=1");
    CharacteristicProfile ofAUser = Profile("LOCAL", "song", "1");
    ofAUser.SetUserId(101);
    EXPECT_EQ(profiles.PutCharacteristicProfile(ofAUser), PROFILE_OK);  // another user's is a change
    told.Until("~song=1");
    EXPECT_EQ(profiles.UnSubscribeDeviceProfile(info), PROFILE_OK);
    EXPECT_EQ(profiles.UnSubscribeDeviceProfile(info), PROFILE_NOT_SUBSCRIBED);
    EXPECT_EQ(profiles.Delete("music", "song"), PROFILE_OK);
    EXPECT_EQ(profiles.PutCharacteristicProfile(ofAUser), PROFILE_OK);
    Subscribe(SELF, "other");
    EXPECT_EQ(Put("other", "x"), PROFILE_OK);
    told.Until("+other=x");
    EXPECT_TRUE(deletions[101].Reaches(2) && deletions[102].Reaches(1));
    EXPECT_THAT(deletions[101].All(), ElementsAre("-song", "-song"));
    EXPECT_THAT(deletions[102].All(), ElementsAre("-song"));

    profiles.Close();
    profiles.Open(directory / "profiles.db", SELF);
    CharacteristicProfile kept;
    EXPECT_EQ(profiles.GetCharacteristicProfile("LOCAL", "music", "song", kept), PROFILE_OK);
    EXPECT_EQ(kept.GetUserId(), 101);
    EXPECT_EQ(Put("other", "of nobody's subscription"), PROFILE_OK);
    Subscribe(SELF, "last");
    EXPECT_EQ(Put("last", "x"), PROFILE_OK);
    EXPECT_THAT(told.Until("+last=x"),
        ElementsAre("+song=0", "+song=0", "~song=1", "-song", "+song=1", "~song=1", "+other=x", "+last=x"));
}

TEST_F(DeviceProfileTest, LetsAListenerPutSubscribeAndEndItsSubscription) {
    SubscribeInfo info;
    std::atomic<int> calls{0};
    info = SubscriptionOf(SELF, "music", "song", [&](ProfileChangeType, const CharacteristicProfile&) {
        ++calls;
        EXPECT_EQ(profiles.UnSubscribeDeviceProfile(info), PROFILE_OK);
        EXPECT_EQ(profiles.UnSubscribeDeviceProfile(info), PROFILE_NOT_SUBSCRIBED);
        EXPECT_EQ(Put("song", "from the listener"), PROFILE_OK);
        Subscribe(SELF, "song");
        throw std::runtime_error("a fault");
    });
    profiles.SubscribeDeviceProfile(info);
    Put("song", "a");
    told.Until("+song=from the listener");
    Put("song", "b");
    told.Until("~song=b");
    EXPECT_EQ(calls, 1);
}

TEST_F(DeviceProfileTest, WaitsWithItsCloseForAListenerThatRunsAndTellsNothingMore) {
    profiles.SubscribeDeviceProfile(Blocking(SELF, "song"));
    Put("song", "a");
    blocked.acquire();
    Put("song", "b");
    auto closing = std::async(std::launch::async, [this] { profiles.Close(); });
    EXPECT_TRUE(Eventually([this] { return Put("song", "c") == PROFILE_NOT_READY; }));
    EXPECT_EQ(closing.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    release.count_down();
    closing.get();
    EXPECT_THAT(slow.All(), ElementsAre("+song=a"));
}

// What a listener is told that was busy while changes arrived.
TEST(ABusyListener, IsToldTheDifferenceOfWhatItKnewAndWhatIsTrue) {
    ProfileTable table;
    using Step = std::function<std::vector<ProfileStep>()>;
    const auto puts = [&](const std::string& value, WriterId writer = FIRST_RUN) -> Step {
        return [&table, value, writer] {
            return std::vector{table.Put(Record("song", value), writer)};
        };
    };
    const Step deletes = [&] {
        return std::vector{table.Delete(DESK, ProfileName(*Record("song", "")))};
    };
    const Step leaves = [&] {
        return table.Forget(DESK, FIRST_RUN);
    };
    struct Case {
        const char* what;
        bool knewK;
        std::vector<Step> steps;
        std::vector<std::string> expected;
    };
    const std::vector<Case> cases{
        {"the last of many values", false, {puts("a"), puts("b"), puts("c")}, {"+song=c"}},
        {"one update", true, {puts("a"), puts("b")}, {"~song=b"}},
        {"nothing of a value that is as before", true, {puts("a"), puts("k")}, {}},
        {"nothing of the same value again", true, {puts("k")}, {}},
        {"nothing of what came and went", false, {puts("a"), deletes}, {}},
        {"the deletion and the new value", true, {puts("a"), deletes, puts("b"), puts("c")}, {"-song", "+song=c"}},
        {"the deletion alone", true, {deletes, puts("a"), deletes}, {"-song"}},
        {"nothing of a device that left", true, {puts("a"), leaves}, {}},
        {"the deletion before it left", true, {deletes, puts("b"), leaves}, {"-song"}},
        {"what a device has that left and returned", true, {leaves, puts("k", SECOND_RUN)}, {"+song=k"}},
        {"nothing of a restart", true, {puts("k", SECOND_RUN), leaves, puts("k", SECOND_RUN)}, {}},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.what);
        std::vector<std::string> told;
        ChangeQueue waiting;
        table.Clear();
        if (one.knewK) {
            table.Put(Record("song", "k"), FIRST_RUN);
        }
        for (const Step& step : one.steps) {
            for (const ProfileStep& change : step()) {
                if (change.before || change.after) {
                    waiting.Add(change);
                }
            }
        }
        while (const auto change = waiting.Take()) {
            ChangeQueue::Tell(*change, [&](ProfileChange what, const auto& /*before*/, const auto& after) {
                told.push_back(what == ProfileChange::DELETED
                        ? "-song"
                        : (what == ProfileChange::ADDED ? "+song=" : "~song=") + after.GetCharacteristicValue());
            });
        }
        EXPECT_EQ(told, one.expected);
    }
}

class JoinedDeviceProfile : public DeviceProfileTest {
protected:
    JoinedDeviceProfile() {
        Put("before", "x");
        EXPECT_TRUE(profiles.Join(network, SELF));
    }
    ~JoinedDeviceProfile() override { profiles.Leave(); }

    bool Arrives(const std::string& key, const std::string& value) {
        return profiles.OnPut(Record(key, value), FIRST_RUN);
    }

    PlayedNetwork network;
};

TEST_F(JoinedDeviceProfile, PublishesWhatItHasAndWhatChanges) {
    Put("song", "a");
    Put("song", "a");
    profiles.Delete("music", "before");
    profiles.Leave();
    Put("song", "b");
    EXPECT_THAT(network.published, ElementsAre("before=x", "song=a", "-before"));
}

TEST_F(JoinedDeviceProfile, ReadsOnWhileListenersAreBlockedWhoHoldUpNobodyAndAreToldTheLastUnlessTheyEnd) {
    const SubscribeInfo ending = Blocking(DESK, "song");
    EXPECT_EQ(profiles.SubscribeDeviceProfile(Blocking(DESK, "song")), PROFILE_OK);
    EXPECT_EQ(profiles.SubscribeDeviceProfile(ending), PROFILE_OK);
    Subscribe(DESK, "song");
    EXPECT_TRUE(Arrives("song", "a"));
    blocked.acquire();
    blocked.acquire();
    told.Until("+song=a");
    for (const char* value : {"b", "c"}) {
        EXPECT_TRUE(Arrives("song", value));
    }
    EXPECT_EQ(Get(DESK, "song"), "c");
    EXPECT_THAT(told.Until("~song=c"), Not(IsEmpty()));
    EXPECT_THAT(slow.All(), IsEmpty());
    EXPECT_EQ(Put("song", "mine"), PROFILE_OK);
    EXPECT_EQ(profiles.UnSubscribeDeviceProfile(ending), PROFILE_OK);
    release.count_down();
    EXPECT_TRUE(slow.Reaches(3));
    EXPECT_THAT(slow.All(), UnorderedElementsAre("+song=a", "+song=a", "~song=c"));
}

TEST_F(JoinedDeviceProfile, ChangesNothingAndTellsNobodyOfWhatTheStoreDoesNotKeep) {
    Put("song", "a");
    profiles.Leave();
    profiles.Close();
    const fs::path file = directory / "profiles.db";
    SQLite::Database(file.string(), SQLite::OPEN_READWRITE)
        .exec("CREATE TRIGGER no_put BEFORE INSERT ON profiles WHEN NEW.key <> 'last' BEGIN SELECT RAISE(ABORT, 'no');"
              "END; CREATE TRIGGER no_delete BEFORE DELETE ON profiles BEGIN SELECT RAISE(ABORT, 'no'); END");
    profiles.Open(file, SELF);
    EXPECT_TRUE(profiles.Join(network, SELF));
    network.published.clear();
    for (const char* key : {"song", "new", "last"}) {
        Subscribe(SELF, key);
    }
    told.Until("+song=a");
    testing::internal::CaptureStderr();
    EXPECT_EQ(Put("song", "b"), PROFILE_STORE_FAILED);
    EXPECT_EQ(Put("new", "x"), PROFILE_STORE_FAILED);
    EXPECT_EQ(profiles.Delete("music", "song"), PROFILE_STORE_FAILED);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
        HasSubstr("a profile of this device is not kept: " + file.string() + ": no"));
    EXPECT_EQ(Get("LOCAL", "song") + Get("LOCAL", "new"), "anone");
    EXPECT_EQ(Put("last", "x"), PROFILE_OK);
    EXPECT_THAT(told.Until("+last=x"), ElementsAre("+song=a", "+last=x"));
    EXPECT_THAT(network.published, ElementsAre("last=x"));
}

// One direction of a link: keeps what is said until the test delivers it, what is small before what is large.
class Way {
public:
    ProfileSend Sender() {
        return [this](std::string message) {
            const std::scoped_lock lock(mutex_);
            (message.size() > SecureChannel::LARGE_BYTES ? large : small).push_back(std::move(message));
            return true;
        };
    }
    std::optional<std::string> Take() {
        const std::scoped_lock lock(mutex_);
        std::deque<std::string>& first = small.empty() ? large : small;
        if (first.empty()) {
            return std::nullopt;
        }
        std::optional<std::string> message(std::move(first.front()));
        first.pop_front();
        return message;
    }

    std::deque<std::string> small;  // guarded by mutex_ while other threads put
    std::deque<std::string> large;  // likewise

private:
    std::mutex mutex_;
};

// This device, SELF, and another, DESK unless said otherwise, that publishes without bounds.
class DeviceProfileOverALink : public JoinedDeviceProfile {
protected:
    std::unique_ptr<ProfileExchange> New(const std::string& run) {
        const std::function<void(const std::string&)> count([this](const std::string&) { ++hookCalls; });
        return std::make_unique<ProfileExchange>(
            run, profiles, ProfileExchange::Hooks{count, count}, [this] { return now; });
    }
    void DeskPuts(const std::string& key, const std::string& value) const { desk->Publish(Record(key, value), false); }
    void DeskDeletes(const std::string& key) const { desk->Publish(Record(key, ""), true); }
    void Up(const std::string& udid = DESK) {
        self->OnUp(udid, toDesk.Sender());
        desk->OnUp(SELF, toSelf.Sender());
    }
    // What was under way is lost.
    void Down(const std::string& udid = DESK) {
        while (toSelf.Take() || toDesk.Take()) {
        }
        self->OnDown(udid);
        desk->OnDown(SELF);
    }
    // Delivers at most `most` messages. How many of them had a change of the other device.
    int Deliver(int most = 1000000, const std::string& udid = DESK) {
        int changes = 0;
        for (int count = 0; count < most; ++count) {
            Wire::ProfileMessage parsed;
            if (const auto message = toSelf.Take()) {
                EXPECT_TRUE(self->OnMessage(udid, *message) && parsed.ParseFromString(*message));
                changes += parsed.has_change() ? 1 : 0;
            } else if (const auto answer = toDesk.Take()) {
                EXPECT_TRUE(desk->OnMessage(SELF, *answer));
            } else {
                break;
            }
        }
        return changes;
    }
    void DeliverUntil(const std::string& last) {
        Deliver();
        told.Until(last);
    }

    const std::string large = std::string(size_t{20} << 10U, 'v');
    const std::string largest = std::string(ProfileBounds::VALUE_BYTES, 'v');
    ProfileExchange::Clock::time_point now{};
    int hookCalls = 0;
    Way toSelf;
    Way toDesk;
    std::unique_ptr<ProfileExchange> self = New("run");
    std::unique_ptr<ProfileExchange> desk = New("desk's run");
};

TEST_F(DeviceProfileOverALink, KnowsWhatPeersPublishForAsLongAsTheyAreThere) {
    DeskPuts("song", "a");
    DeskPuts("artist", "x");
    Subscribe(DESK, "song");
    Up();
    EXPECT_EQ(Deliver(), 2);
    told.Until("+song=a");
    EXPECT_EQ(Get(DESK, "artist"), "x");
    DeskPuts("song", "b");
    DeliverUntil("~song=b");
    DeskDeletes("song");
    DeliverUntil("-song");
    DeskPuts("song", "c");
    DeliverUntil("+song=c");
    Down();
    EXPECT_THAT(profiles.List(DESK), IsEmpty());

    desk = New("desk's next run");
    DeskPuts("song", "c");
    Up();
    EXPECT_EQ(Deliver(), 1);
    EXPECT_TRUE(told.Reaches(5));
    EXPECT_EQ(Get(DESK, "artist"), "none");
    EXPECT_THAT(told.All(), ElementsAre("+song=a", "~song=b", "-song", "+song=c", "+song=c"));
}

TEST_F(DeviceProfileOverALink, GoesOnWhereItWasAfterABreak) {
    for (int i = 0; i < 100; ++i) {
        DeskPuts("key" + std::to_string(i), i == 0 ? large : "x");
    }
    Up();
    const int before = Deliver(60);
    Down();
    Up();
    EXPECT_EQ(Deliver(), 100 - before);
    Down();
    DeskPuts("key0", "new");
    DeskDeletes("key1");
    EXPECT_EQ(Get(DESK, "key2"), "none");
    Up();
    EXPECT_EQ(Deliver(), 2);
    EXPECT_EQ(Get(DESK, "key0") + Get(DESK, "key2"), "newx");
    EXPECT_EQ(profiles.List(DESK).size(), 99U);
    Down();
    for (size_t i = 0; i <= ProfileOutbox::KEPT_DELETIONS; ++i) {
        DeskDeletes("gone" + std::to_string(i));
    }
    Up();
    EXPECT_EQ(Deliver(), 99) << "a deletion may be missing";
    for (const int expected : {0, 99}) {
        Down();
        now += expected == 0 ? std::chrono::minutes(0) : ProfileInbox::KEPT_TIME;
        Up();
        EXPECT_EQ(Deliver(), expected) << "kept for ten minutes";
    }
}

TEST_F(DeviceProfileOverALink, LetsSmallChangesOvertakeLargeOnesAndKeepsTheNewest) {
    Up();
    Deliver();
    for (const char* key : {"replaced", "deleted", "returned", "stays"}) {
        DeskPuts(key, large);
    }
    DeskPuts("replaced", "small");
    DeskDeletes("deleted");
    DeskDeletes("returned");
    EXPECT_EQ(Deliver(3), 3);
    EXPECT_EQ(Get(DESK, "replaced"), "small");
    DeskPuts("returned", "small");
    EXPECT_EQ(Deliver(), 5);
    EXPECT_EQ(Get(DESK, "replaced"), "small");
    EXPECT_EQ(Get(DESK, "deleted"), "none");
    EXPECT_EQ(Get(DESK, "returned"), "small");
    EXPECT_EQ(Get(DESK, "stays"), large);
    for (int i = 0; i < 2100; ++i) {
        DeskPuts("key" + std::to_string(i), large);
        DeskDeletes("key" + std::to_string(i));
        Deliver();
    }
    EXPECT_EQ(profiles.List(DESK).size(), 3U);
}

TEST_F(DeviceProfileOverALink, SendsNoMoreThanAWindowAndOfManyChangesTheLast) {
    Up();
    Deliver();
    for (int i = 0; i < 600; ++i) {
        DeskPuts("key" + std::to_string(i), "x");
        DeskPuts("large" + std::to_string(i), i == 0 ? largest : large);
        DeskPuts("again", std::to_string(i));
    }
    EXPECT_EQ(toSelf.small.size(), 512U);
    EXPECT_EQ(toSelf.large.size(), 1U);
    EXPECT_LT(Deliver(), 600 + 600 + 300);
    EXPECT_EQ(Get(DESK, "again"), "599");
    EXPECT_EQ(profiles.List(DESK).size(), 1201U);
    for (int i = 0; i < 600; ++i) {
        DeskPuts("large" + std::to_string(i), large + 'v');
    }
    EXPECT_EQ(toSelf.large.size(), 51U) << "1 MiB";
}

TEST_F(DeviceProfileOverALink, RefusesWhatIsBeyondItsBoundsAndLosesNothingThatFitsInTheEnd) {
    Up();
    for (const char* key : {"1", "2", "3", "4", "5"}) {
        DeskPuts(key, largest);
    }
    DeskPuts(std::string(256, 'k'), "x");
    DeskPuts("large", largest + 'v');
    for (size_t i = 3; i <= ProfileBounds::RECORDS; ++i) {
        DeskPuts('n' + std::to_string(i), "");
    }
    Deliver();
    EXPECT_EQ(profiles.List(DESK).size(), ProfileBounds::RECORDS);
    for (const char* key : {"1", "n3", "n4", "n5", "n6", "n7"}) {
        DeskDeletes(key);
    }
    DeskPuts("5", "small");
    Deliver();
    EXPECT_EQ(Get(DESK, "4"), largest);
    EXPECT_EQ(Get(DESK, "5"), "small");
    // A peer has no say in this device's own.
    const auto own =
        std::make_shared<ProfileRecord>(ProfileRecord{ProfileKind::CHARACTERISTIC, Profile(SELF, "before", "forged")});
    EXPECT_FALSE(profiles.OnPut(own, FIRST_RUN));
    profiles.OnDelete(SELF, ProfileName(*own));
    profiles.Leave();
    EXPECT_FALSE(profiles.OnPut(Record("late", "x"), FIRST_RUN));
    EXPECT_THAT(profiles.List(DESK), IsEmpty());
    EXPECT_EQ(Get("LOCAL", "before"), "x");
}

TEST_F(DeviceProfileOverALink, GivesUpAPeerThatTakesNothingUntilItComesAnew) {
    Up();
    Deliver();
    for (size_t i = 0; i <= ProfileOutbox::MAX_DELETIONS + 512; ++i) {
        DeskPuts("key", std::to_string(i));
        DeskDeletes("key" + std::to_string(i));
    }
    EXPECT_EQ(hookCalls, 1);
    Down();
    Up();
    EXPECT_EQ(Deliver(), 1);
    EXPECT_EQ(Get(DESK, "key"), std::to_string(ProfileOutbox::MAX_DELETIONS + 512));
}

TEST_F(DeviceProfileOverALink, SendsWhatThreadsPutAtOnceAndWaitsUntilItIsTaken) {
    Up();
    DeskPuts("one0", "first");
    EXPECT_FALSE(desk->WaitUntilTaken(std::chrono::seconds(0))) << "the peer has said nothing yet";
    const auto put = [this](const std::string& name) {
        for (int i = 0; i < 500; ++i) {
            DeskPuts(name + std::to_string(i % 50), i % 10 == 0 ? large + name : std::to_string(i));
        }
    };
    const auto all = std::async(std::launch::async, [&] {
        std::thread one(put, "one");
        put("two");
        one.join();
        EXPECT_TRUE(desk->WaitUntilTaken(std::chrono::seconds(30)));
    });
    while (all.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
        Deliver();
    }
    EXPECT_EQ(profiles.List(DESK).size(), 100U);
    EXPECT_EQ(Get(DESK, "one49"), "499");
    EXPECT_EQ(Get(DESK, "two40"), large + "two");
}

TEST_F(DeviceProfileOverALink, KeepsOfPeersThatAreAwayWhatThereIsRoomFor) {
    const auto isKept = [this](int number) {
        const std::string udid = "device" + std::to_string(number);
        desk = New("one run");
        DeskPuts("key", largest);
        Up(udid);
        const int sent = Deliver(1000000, udid);
        Down(udid);
        return sent == 0;
    };
    for (int i = 0; i < 18; ++i) {
        EXPECT_FALSE(isKept(i % 16)) << i << ", one of the eldest at last";
    }
    EXPECT_TRUE(isKept(0) && isKept(15));
}

// How the wire has a number, and a field of a message.
std::string Number(uint64_t number) {
    const auto last = static_cast<char>(number & 0x7fU);
    return number < 0x80 ? std::string(1, last) : static_cast<char>(last | 0x80) + Number(number >> 7U);
}
std::string Field(uint64_t field, uint64_t number) {
    return Number(field << 3U) + Number(number);
}
std::string Field(uint64_t field, const std::string& bytes) {
    return Number(field << 3U | 2U) + Number(bytes.size()) + bytes;
}

TEST_F(DeviceProfileOverALink, EndsTheLinkOfAPeerThatDoesNotHoldToTheProtocol) {
    const auto resume = [](uint64_t have, size_t beyond) {
        return Field(1, Field(1, "run") + Field(2, have) + Field(4, std::string(beyond * 8, '\1')));
    };
    const auto begin = [](const std::string& run, bool isSnapshot) {
        return Field(2, Field(1, run) + Field(2, isSnapshot));
    };
    const auto change = [](uint64_t sequence, uint64_t floor, uint64_t kind, const std::string& more = "") {
        return Field(3, Field(1, sequence) + Field(2, floor) + Field(3, kind) + more);
    };
    const std::string start = begin("r", true);
    std::vector<std::string> overtaking{start};
    for (uint64_t i = 1; i <= 2049; ++i) {
        overtaking.push_back(change(i, 1, 2, Field(5, std::to_string(i)) + Field(7, 1) + Field(9, 1)));
    }
    // The last message of each ends the link.
    const std::map<std::string, std::vector<std::string>> cases{{"no message", {"\xff"}}, {"nothing", {""}},
        {"a change before the start", {change(1, 1, 2)}}, {"two starts", {start, start}}, {"no run", {begin("", true)}},
        {"a long run", {begin(std::string(65, 'r'), true)}}, {"a run that is not kept", {begin("r", false)}},
        {"no floor", {start, change(1, 0, 2)}}, {"a floor above", {start, change(1, 2, 2)}},
        {"what is below the floor", {start, change(9, 9, 1), change(8, 8, 1)}}, {"no kind", {start, change(1, 1, 0)}},
        {"an unknown kind", {start, change(1, 1, 3)}}, {"too many that overtake", overtaking},
        {"an answer to nothing", {Field(4, Field(1, 1))}}, {"two resumes", {resume(0, 4096), resume(0, 0)}},
        {"more than there is", {resume(9, 0)}}, {"too much beyond", {resume(0, 4097)}}};
    for (const auto& [what, messages] : cases) {
        SCOPED_TRACE(what);
        Up(OTHER);
        for (size_t i = 0; i < messages.size(); ++i) {
            EXPECT_EQ(self->OnMessage(OTHER, messages[i]), i + 1 < messages.size());
        }
        Down(OTHER);
        now += ProfileInbox::KEPT_TIME;
    }
    Up();
    self->OnMessage(DESK, start);
    for (uint64_t i = 1; i <= 20001; ++i) {
        EXPECT_EQ(hookCalls, 0);
        EXPECT_TRUE(self->OnMessage(DESK, change(i, i, 2)));
    }
    EXPECT_EQ(hookCalls, 1) << "its share of changes";
    Down();
    for (const std::string& late : {start, change(20002, 20002, 2), resume(0, 0), Field(4, Field(1, 1))}) {
        EXPECT_FALSE(self->OnMessage(DESK, late)) << "it goes on without a link";
    }
    EXPECT_THAT(profiles.List(DESK), IsEmpty());
}

}  // namespace
}  // namespace ZYNE::Linux
