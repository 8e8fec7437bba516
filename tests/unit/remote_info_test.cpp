#include <cstring>
#include <type_traits>

#include "plugin/info_collection/info_collection_process.h"
#include "plugin/info_collection/info_collection_service.h"
#include "tests/support/simulated_device.h"

namespace ZYNE::CollaborationFwk {
namespace {

using Answers = std::unordered_map<std::string, std::string>;

class RemoteInfo : public Testing::LibraryTest {
protected:
    int32_t Ask(const std::vector<std::string>& keys) {
        return service.GetRemoteDeviceDynamicInfo(peer, "me", keys, records);
    }
    int32_t Answer(Answers info, uint32_t id = 42) { return service.SetDynamicInfo(id, info); }
    std::string Records() const {
        std::string text;
        for (const DeviceDynamicInfo& record : records) {
            text += record.GetKey() + "=" + record.GetValue() + " ";
        }
        return text;
    }
    // Neither the id nor an answer is left.
    bool IsForgotten(uint32_t id) {
        service.IsValidDynamicInfoResult(id, {});
        return !service.IsCollaborationIdExist(id) &&
            device.journal.Lines().back() ==
            "E Collection: cannot find collaborationId:" + std::to_string(id) + " in ResultList";
    }

    InfoCollectionService& service = InfoCollectionService::GetInstance();
    DeviceInfo peer{"udid", "network-1", "desk", DeviceType::PC};
    std::vector<DeviceDynamicInfo> records;
};

TEST_F(RemoteInfo, IsAskedForUnderAnIdThatAnAnswerMayFindAtOnce) {
    device.host.onRequest = [this](const ServiceInfo& sent) {
        EXPECT_EQ(sent.serviceType | sent.serviceVersion | sent.serviceFlags, 0);
        EXPECT_EQ(std::pair(sent.businessType, sent.priority), std::pair(3, 1));
        EXPECT_EQ(sent.collaborationIdStr, "00000000042-me");
        EXPECT_EQ(sent.commandProp, InfoCollectionProcess::GetInstance()->GenerateInfoCollectionReqCommand({"a"}));
        EXPECT_EQ(Answer({{"wrong", ""}}), 0);
        EXPECT_EQ(Answer({{"a", "1"}}), 0);  // in place of the first
    };
    EXPECT_EQ(Ask({"a"}), 0);
    EXPECT_EQ(device.time.Elapsed(), 0s);
    EXPECT_EQ(Records(), "a=1 ");
    ExpectCalls({"Request(network-1, me, collaborationCtrlSession)"});
    EXPECT_EQ(device.journal.Lines()[1], "I Collection: collaborationIdStr: 0**e");
    EXPECT_EQ(device.journal.Lines()[2], "I Collection: commandPropStr: " + device.host.lastService->commandProp);
    ExpectLast("I Collection: infoRes result receive success, collaborationId: 42,         collaborationSessionId: 7");
    EXPECT_TRUE(IsForgotten(42));
}

TEST_F(RemoteInfo, IsAppendedWhenThePeerAnswersAfterThreeSeconds) {
    records.emplace_back("earlier", "kept");
    device.time.At(1s, [this] { EXPECT_EQ(Answer({{"b", "foreign"}}, 41), 2204); });
    device.time.At(3s, [this] { EXPECT_EQ(Answer({{"b", "2"}, {"a", ""}}), 0); });
    EXPECT_EQ(Ask({"a", "b"}), 0);
    EXPECT_EQ(device.time.Elapsed(), 3s);
    EXPECT_THAT(Records(), ::testing::AnyOf("earlier=kept a= b=2 ", "earlier=kept b=2 a= "));
    device.time.At(5s, [this] { EXPECT_EQ(Answer({}, 43), 0); });
    EXPECT_EQ(Ask({}), 0);  // answered in the last moment
}

TEST_F(RemoteInfo, IsGivenUpFiveSecondsAfterItWasSentWhateverElseComesAndALateAnswerRefused) {
    device.host.onRequest = [this](const ServiceInfo&) {
        device.time.SleepFor(2s);
        device.time.At(1s, [this] { EXPECT_EQ(Answer({{"a", "foreign"}}, 41), 2204); });
    };
    EXPECT_EQ(Ask({"a"}), 2201);
    EXPECT_EQ(device.time.Elapsed(), 7s);
    ExpectLast("E Collection: infoRes result is empty, collaborationId: 42");
    EXPECT_EQ(Answer({{"a", "1"}}), 2204);
    ExpectLast("E Collection: SetDynamicInfo failed");
    EXPECT_TRUE(IsForgotten(42));
}

TEST_F(RemoteInfo, IsRefusedAndForgottenWhenTheNamesAreNotThoseAskedFor) {
    struct Row {
        std::vector<std::string> keys;
        Answers answer;
        std::string line;
    };
    const std::string otherSize = "E Collection: infoResultSize is not the same as keyListSize";
    const std::vector<Row> rows{{{"a"}, {{"a", "1"}, {"extra", "2"}}, otherSize},
        {{"a", "missing"}, {{"a", "1"}}, otherSize}, {{"twice", "twice"}, {{"twice", "1"}}, otherSize},
        {{"a", "b"}, {{"a", "1"}, {"c", "2"}}, "E Collection: cannot find the same key b in infoRes"}};
    uint32_t id = 42;
    for (const Row& row : rows) {
        device.time.At(1s, [&] { EXPECT_EQ(Answer(row.answer, id), 0); });
        EXPECT_EQ(Ask(row.keys), 2205) << row.keys.back();
        const std::vector<std::string> lines = device.journal.Lines();
        EXPECT_EQ(lines[lines.size() - 2], row.line) << row.keys.back();
        EXPECT_EQ(lines.back(), "E Collection: infoRes result is not valid");
        EXPECT_TRUE(IsForgotten(id++));
    }
    EXPECT_TRUE(records.empty());
}

TEST_F(RemoteInfo, ThatWasNotSentKeepsItsIdButLeavesNoAnswerToTheNextRequest) {
    device.host.session = {3, 9};
    EXPECT_EQ(Ask({"a"}), 2203);
    device.host.nextCollaborationId = 42;
    device.host.session = {-3, 9};
    EXPECT_EQ(Ask({"a"}), 2203);
    ExpectLast("E Collection: CollaborationToDevice failed, errorCode: -3,             collaborationSessionId: 9");
    EXPECT_EQ(Answer({{"a", "stale"}}), 0);
    EXPECT_TRUE(service.IsValidDynamicInfoResult(42, {"a"}));

    device.host.session = {0, 7};
    device.host.nextCollaborationId = 42;
    EXPECT_EQ(Ask({"a"}), 2201);
    EXPECT_TRUE(records.empty());
}

class Record : public Testing::LibraryTest {};

TEST_F(Record, ComesOutOfAParcelAsItWentInAndEmptyOutOfAnEmptyOne) {
    Parcel parcel;
    for (const auto& [key, value] :
        std::vector<std::pair<std::string, std::string>>{{"switch", std::string("o\0n", 3)}, {"empty", ""}}) {
        ASSERT_TRUE(DeviceDynamicInfo(key, value).Marshalling(parcel));
        ExpectHas("I Collection: success key=" + key + ", value=" + value);
        const sptr<DeviceDynamicInfo> read = DeviceDynamicInfo::Unmarshalling(parcel);
        ASSERT_TRUE(read);
        EXPECT_EQ(read->GetKey(), key);
        EXPECT_EQ(read->GetValue(), value);
    }
    const sptr<DeviceDynamicInfo> read = DeviceDynamicInfo::Unmarshalling(parcel);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->GetKey() + read->GetValue(), "");
}

TEST_F(Record, LeavesItsKeyInAParcelThatHasNoRoomForItsValue) {
    Parcel parcel;
    ASSERT_TRUE(parcel.WriteString(std::string(Parcel::MAX_SIZE - 16, 'x')));
    EXPECT_FALSE(DeviceDynamicInfo("key", "value").Marshalling(parcel));
    ExpectHas("E Collection: failed key=key, value=value");
    parcel.ReadString();
    EXPECT_EQ(parcel.ReadString(), "key");
    EXPECT_EQ(parcel.GetReadableBytes(), 0U);

    Parcel small;
    ASSERT_TRUE(small.WriteString(std::string(Parcel::MAX_SIZE - 32, 'x')));
    EXPECT_FALSE(DeviceDynamicInfo(std::string(99, 'k'), "v").Marshalling(small));
    small.ReadString();
    EXPECT_EQ(small.GetReadableBytes(), 0U);  // no value without its key
}

static_assert(std::is_copy_constructible_v<DeviceDynamicInfo> && !std::is_copy_assignable_v<DeviceDynamicInfo>);

TEST(ParcelableTable, BeginsWithTheTwoDestructors) {
    constexpr auto MARSHALLING = &Parcelable::Marshalling;
    uintptr_t place = 0;  // in the table, in bytes; some machines add one
    std::memcpy(&place, &MARSHALLING, sizeof(place));
    EXPECT_EQ(place & ~uintptr_t{1}, 2 * sizeof(void*));
}

TEST_F(Record, LeavesALineWhenItIsMadeAndWhenItGoesButNotWhenItIsCopied) {
    {
        const DeviceDynamicInfo record("k", "v");
        const std::vector<DeviceDynamicInfo> copies(1, record);
    }
    std::vector<std::string> functions;
    for (const auto& entry : device.journal.Entries()) {
        EXPECT_EQ(entry.text, "I Collection: key=k, value=v");
        functions.push_back(entry.function);
    }
    EXPECT_THAT(functions, ElementsAre("DeviceDynamicInfo", "~DeviceDynamicInfo", "~DeviceDynamicInfo"));
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
