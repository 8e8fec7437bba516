// The device profile with a network that the test plays, and over DDS with peers that the test plays.
#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <latch>
#include <map>
#include <mutex>
#include <optional>
#include <stdexcept>

#include "linux/fabric/profile_channel.h"
#include "linux/fabric/qos.h"
#include "linux/fabric/taken_samples.h"
#include "linux/fabric/wire.h"
#include "linux/fabric/wire_text.h"
#include "linux/profile/profile_service.h"
#include "tests/port/port_test.h"
#include "tests/support/profile_listener.h"

namespace ZYNE::Linux {
namespace {

using ::testing::IsEmpty;
using Testing::ProfileListener;
using Testing::SubscriptionOf;

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

// Gives what the test lets arrive, and keeps what is published: "key=value", "-key".
class PlayedNetwork final : public ProfileNetwork {
public:
    void Publish(const RecordPtr& record, bool isDeleted) override {
        const CharacteristicProfile& profile = record->profile;
        published.push_back(isDeleted ? '-' + profile.GetCharacteristicKey()
                                      : profile.GetCharacteristicKey() + '=' + profile.GetCharacteristicValue());
    }
    void Read() noexcept override {
        std::unique_lock lock(mutex_);
        arrived_.wait(lock, [this] { return isInterrupted_ || !arrivals_.empty(); });
        if (!arrivals_.empty()) {
            arrivals_.front()();
            arrivals_.pop_front();
        }
    }
    void Interrupt() override {
        const std::scoped_lock lock(mutex_);
        isInterrupted_ = true;
        arrived_.notify_all();
    }
    void Arrive(std::function<void()> arrival) {
        const std::scoped_lock lock(mutex_);
        arrivals_.push_back(std::move(arrival));
        arrived_.notify_all();
    }

    std::vector<std::string> published;

private:
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::deque<std::function<void()>> arrivals_;
    bool isInterrupted_ = false;
};

class DeviceProfileTest : public PortTest {
protected:
    DeviceProfileTest() { profiles.Open(directory / "profiles.db", SELF); }
    ~DeviceProfileTest() override {
        profiles.Leave();
        profiles.Close();
    }

    int32_t Put(const std::string& key, const std::string& value, const std::string& device = "LOCAL") {
        return profiles.PutCharacteristicProfile(Profile(device, key, value));
    }
    std::string Get(const std::string& device, const std::string& key) {
        CharacteristicProfile profile;
        return profiles.GetCharacteristicProfile(device, "music", key, profile) == PROFILE_OK
            ? profile.GetCharacteristicValue()
            : "none";
    }
    void Subscribe(const std::string& device, const std::string& key) {
        EXPECT_EQ(profiles.SubscribeDeviceProfile(SubscriptionOf(device, "music", key, Telling(told))), PROFILE_OK);
    }

    ProfileService profiles;
    Told<std::string> told;
};

TEST_F(DeviceProfileTest, KeepsWhatThisDevicePublishesUnderEitherOfItsNames) {
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
}

TEST_F(DeviceProfileTest, IsNotReadyWhileClosed) {
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

TEST_F(DeviceProfileTest, TellsItsOwnChangesAndWhatIsKnownAlready) {
    Put("song", "a");
    Subscribe(SELF, "song");
    EXPECT_THAT(told.Until("+song=a"), ElementsAre("+song=a"));
    Put("song", "b");
    told.Until("~song=b");
    Put("song", "b");
    Put("other", "x");
    profiles.Delete("music", "song");
    told.Until("-song");
    Put("song", "b");
    EXPECT_THAT(told.Until("+song=b"), ElementsAre("+song=a", "~song=b", "-song", "+song=b"));
}

TEST_F(DeviceProfileTest, TellsTheWatcherOfEveryCharacteristic) {
    Put("known", "x");
    profiles.SetWatcher([this](ProfileChange change, const CharacteristicProfile& profile) {
        const ProfileChangeType type = change == ProfileChange::ADDED ? ProfileChangeType::CHARACTERISTIC_ADD
            : change == ProfileChange::DELETED                        ? ProfileChangeType::CHARACTERISTIC_DELETE
                                                                      : ProfileChangeType::CHARACTERISTIC_UPDATE;
        told.Add(Describe(type, profile));
    });
    Put("song", "a");
    Put("known", "y");
    told.Until("~known=y");
    profiles.Delete("music", "song");
    EXPECT_THAT(told.Until("-song"), ElementsAre("+song=a", "~known=y", "-song"));
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
        Told<std::string> told;
        ProfileSubscriptions subscriptions;
        subscriptions.Subscribe(SubscriptionOf(DESK, "music", "song", Telling(told)), nullptr);
        table.Clear();
        if (one.knewK) {
            table.Put(Record("song", "k"), FIRST_RUN);
        }
        for (const Step& step : one.steps) {
            for (const ProfileStep& change : step()) {
                subscriptions.Add(change);
            }
        }
        while (const auto change = subscriptions.TakeNext()) {
            ChangeQueue::Tell(*change);
        }
        EXPECT_EQ(told.All(), one.expected);
    }
}

class JoinedDeviceProfile : public DeviceProfileTest {
protected:
    JoinedDeviceProfile() {
        Put("before", "x");
        EXPECT_TRUE(profiles.Join(network, SELF));
    }
    ~JoinedDeviceProfile() override { profiles.Leave(); }

    void Arrives(const std::string& key, const std::string& value) {
        network.Arrive([=, this] { profiles.OnPut(Record(key, value), FIRST_RUN); });
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

TEST_F(JoinedDeviceProfile, ReadsOnWhileAListenerIsBlocked) {
    std::latch blocked(1);
    std::latch release(1);
    profiles.SubscribeDeviceProfile(
        SubscriptionOf(DESK, "music", "block", [&](ProfileChangeType, const CharacteristicProfile&) {
            blocked.count_down();
            release.wait();
        }));
    Subscribe(DESK, "song");
    Arrives("block", "x");
    blocked.wait();
    for (const char* value : {"a", "b", "c"}) {
        Arrives("song", value);
    }
    EXPECT_TRUE(Eventually([&] { return Get(DESK, "song") == "c"; }));
    EXPECT_THAT(told.All(), IsEmpty());
    EXPECT_EQ(Put("song", "mine"), PROFILE_OK);
    release.count_down();
    EXPECT_THAT(told.Until("+song=c"), ElementsAre("+song=c"));
}

TEST_F(JoinedDeviceProfile, RefusesWhatAPeerPublishesBeyondItsBoundsAndKnowsTheRest) {
    const std::string largest(ProfileBounds::VALUE_BYTES, 'v');
    for (const char* key : {"1", "2", "3", "4"}) {
        Arrives(key, largest);
    }
    for (size_t i = 3; i <= ProfileBounds::RECORDS; ++i) {
        Arrives('n' + std::to_string(i), "");
    }
    Arrives("1", "smaller");
    EXPECT_TRUE(Eventually([&] { return Get(DESK, "1") == "smaller"; }));
    EXPECT_EQ(profiles.List(DESK).size(), ProfileBounds::RECORDS);
    EXPECT_EQ(Get(DESK, "4"), "none");
    EXPECT_EQ(Get(DESK, 'n' + std::to_string(ProfileBounds::RECORDS)), "none");
    profiles.Leave();
    EXPECT_THAT(profiles.List(DESK), IsEmpty());
    EXPECT_EQ(Get("LOCAL", "before"), "x");
}

using Sample = ZYNE_Linux_Wire_Profile;

// A device as bare DDS.
class PlayedDevice {
public:
    PlayedDevice(uint32_t domain, const Partitions& partitions, const std::string& udid)
        : partitions_(partitions), participant_(dds_create_participant(domain, nullptr, nullptr), "participant"),
          topic_(dds_create_topic(Participant(), &ZYNE_Linux_Wire_Profile_desc, "Profile", nullptr, nullptr), "topic"),
          writer_(dds_create_writer(Participant(), topic_.Get(), ProfileWriterQos(partitions.Of(udid)).get(), nullptr),
              "writer") {}

    void Put(const std::string& udid, const std::string& key, const std::string& value) const {
        Sample sample = SampleOf(udid, key);
        std::string bytes = value;
        sample.value = {static_cast<uint32_t>(bytes.size()), static_cast<uint32_t>(bytes.size()),
            reinterpret_cast<uint8_t*>(bytes.data()), false};
        MustDds(dds_write(writer_.Get(), &sample), "write");
    }
    void Delete(const std::string& udid, const std::string& key) const {
        Sample sample = SampleOf(udid, key);
        sample.isDeleted = true;
        MustDds(dds_writedispose(writer_.Get(), &sample), "dispose");
    }
    // What a reader that keeps at most `mostSamples` until they are taken gets.
    void Read(int32_t mostSamples) {
        const QosHandle qos = ProfileReaderQos(partitions_.OfAll());
        dds_qset_resource_limits(qos.get(), mostSamples, DDS_LENGTH_UNLIMITED, DDS_LENGTH_UNLIMITED);
        reader_ = DdsEntity(dds_create_reader(Participant(), topic_.Get(), qos.get(), nullptr), "reader");
    }
    // Takes until `key` of the device has `value`.
    bool Gets(const std::string& key, const std::string& value) {
        return Eventually([&] {
            TakenSamples<Sample> samples(reader_.Get());
            while (samples.Next()) {
                const Sample& sample = samples.Sample();
                if (samples.Info().valid_data) {
                    values_[sample.characteristic] = sample.isDeleted
                        ? "deleted"
                        : std::string(reinterpret_cast<char*>(sample.value._buffer), sample.value._length);
                }
            }
            return values_[key] == value;
        });
    }
    size_t CountOfKeys() const { return values_.size(); }

private:
    static Sample SampleOf(const std::string& udid, const std::string& key) {
        Sample sample{};
        EXPECT_TRUE(
            CopyText(udid, sample.udid) && CopyText("music", sample.service) && CopyText(key, sample.characteristic));
        sample.kind = static_cast<uint8_t>(ProfileKind::CHARACTERISTIC);
        sample.userId = CharacteristicProfile::ALL_USERS;
        return sample;
    }
    dds_entity_t Participant() const { return participant_.Get(); }

    Partitions partitions_;
    DdsEntity participant_;
    DdsEntity topic_;
    DdsEntity writer_;
    DdsEntity reader_;
    std::map<std::string, std::string> values_;
};

// Nobody but those that the test plays is in the device's domain.
class DeviceProfileOnTheNetwork : public DeviceProfileTest {
protected:
    static constexpr uint32_t DOMAIN = 97;

    DeviceProfileOnTheNetwork() {
        FabricOptions options;
        options.domain = DOMAIN;
        options.tag = directory.filename();
        domain.emplace(options, std::nullopt);
        channel.emplace(*domain, partitions, SELF, false, profiles);
    }
    ~DeviceProfileOnTheNetwork() override { channel.reset(); }

    PlayedDevice Play(const std::string& udid) const { return {DOMAIN, partitions, udid}; }

    const Partitions partitions{"home"};
    std::optional<FabricDomain> domain;
    std::optional<ProfileChannel> channel;
};

TEST_F(DeviceProfileOnTheNetwork, KnowsWhatPeersPublishForAsLongAsTheyAreThere) {
    std::optional<PlayedDevice> desk(Play(DESK));
    desk->Put(DESK, "song", "a");
    desk->Put(DESK, "artist", "x");
    Subscribe(DESK, "song");
    channel->Begin();
    told.Until("+song=a");
    EXPECT_TRUE(Eventually([&] { return Get(DESK, "artist") == "x"; }));
    desk->Put(DESK, "song", "b");
    told.Until("~song=b");
    desk->Delete(DESK, "song");
    told.Until("-song");
    EXPECT_EQ(Get(DESK, "song"), "none");
    desk->Put(DESK, "song", "c");
    told.Until("+song=c");

    std::optional<PlayedDevice> restarted(Play(DESK));
    restarted->Put(DESK, "song", "c");
    desk.reset();
    EXPECT_TRUE(Eventually([&] { return Get(DESK, "artist") == "none"; }));
    EXPECT_EQ(Get(DESK, "song"), "c");
    restarted.reset();
    EXPECT_TRUE(Eventually([&] { return profiles.List(DESK).empty(); }));
    desk.emplace(Play(DESK));
    desk->Put(DESK, "song", "c");
    EXPECT_TRUE(Eventually([&] { return told.All().size() > 4; }));
    EXPECT_THAT(told.All(), ElementsAre("+song=a", "~song=b", "-song", "+song=c", "+song=c"));
}

TEST_F(DeviceProfileOnTheNetwork, BelievesADeviceOnlyWhatItSaysOfItself) {
    channel->Begin();
    Subscribe(DESK, "song");
    Subscribe(SELF, "song");
    const PlayedDevice desk = Play(DESK);
    const PlayedDevice other = Play(OTHER);
    desk.Put(DESK, "song", "true");
    other.Put(OTHER, "own", "x");
    told.Until("+song=true");
    EXPECT_TRUE(Eventually([&] { return Get(OTHER, "own") == "x"; }));
    for (int i = 0; i < 100; ++i) {
        other.Put(DESK, "song", "forged");
        other.Put(SELF, "song", "forged");
    }
    other.Delete(DESK, "song");
    desk.Put(DESK, "song", "still true");
    EXPECT_THAT(told.Until("~song=still true"), ElementsAre("+song=true", "~song=still true"));
    EXPECT_EQ(Get(SELF, "song"), "none");
}

TEST_F(DeviceProfileOnTheNetwork, LosesNothingThatArrivesWhileItReads) {
    struct Inlet final : public ProfileInlet {
        explicit Inlet(const PlayedDevice& device) : desk(device) {}
        void OnPut(const RecordPtr&, WriterId) override {
            // Of the same process: what is written is there at once.
            for (int i = 0; count == 0 && i < 40; ++i) {
                desk.Put(DESK, "late" + std::to_string(i), "x");
            }
            ++count;
        }
        void OnDelete(const std::string&, const ProfileName&) override {}
        void OnGone(const std::string&, WriterId) override {}
        const PlayedDevice& desk;
        int count = 0;
    };
    ProfileReader reader(*domain, partitions, SELF, false);
    const PlayedDevice desk = Play(DESK);
    Inlet inlet(desk);
    desk.Put(DESK, "first", "x");
    for (int i = 0; i < 5; ++i) {
        reader.Take(inlet);
    }
    EXPECT_EQ(inlet.count, 41);
}

TEST_F(DeviceProfileOnTheNetwork, BelievesNobodyWithoutCertificateWhereThoseAreAsked) {
    struct Inlet final : public ProfileInlet {
        void OnPut(const RecordPtr&, WriterId) override { ++count; }
        void OnDelete(const std::string&, const ProfileName&) override { ++count; }
        void OnGone(const std::string&, WriterId) override {}
        int count = 0;
    };
    const PlayedDevice desk = Play(DESK);
    for (const bool isProved : {false, true}) {
        ProfileReader reader(*domain, partitions, SELF, isProved);
        // Of the same process: what is written is there at once.
        desk.Put(DESK, "song", "a");
        desk.Delete(DESK, "song");
        Inlet inlet;
        reader.Take(inlet);
        EXPECT_EQ(inlet.count, isProved ? 0 : 2);
    }
}

TEST_F(DeviceProfileOnTheNetwork, ReachesPeersThatComeLaterAndThoseThatTakeLate) {
    for (int i = 0; i < 1000; ++i) {
        Put("key" + std::to_string(i), "x");
    }
    channel->Begin();
    PlayedDevice late = Play(DESK);
    late.Read(DDS_LENGTH_UNLIMITED);
    PlayedDevice stuck = Play(OTHER);
    stuck.Read(1);
    for (int i = 0; i < 1000; ++i) {
        Put("burst", std::to_string(i));
    }
    Put("gone", "x");
    profiles.Delete("music", "gone");
    for (PlayedDevice* peer : {&stuck, &late}) {
        EXPECT_TRUE(peer->Gets("burst", "999"));
        EXPECT_TRUE(peer->Gets("gone", "deleted"));
    }
    EXPECT_TRUE(late.Gets("key999", "x"));
    EXPECT_EQ(late.CountOfKeys(), 1002U);
}

}  // namespace
}  // namespace ZYNE::Linux
