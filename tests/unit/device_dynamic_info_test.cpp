#include "plugin/info_collection/device_dynamic_info.h"

#include "tests/support/simulated_device.h"

namespace ZYNE::CollaborationFwk {
namespace {

class Record : public Testing::LibraryTest {};

TEST_F(Record, ComesOutOfAParcelAsItWentInAndEmptyOutOfAnEmptyOne) {
    Parcel parcel;
    for (const auto& [key, value] : std::vector<std::pair<std::string, std::string>>{{"switch", "on"}, {"empty", ""}}) {
        ASSERT_TRUE(DeviceDynamicInfo(key, value).Marshalling(parcel));
        EXPECT_TRUE(device.journal.Has("I Collection: success key=" + key + ", value=" + value));
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
    EXPECT_TRUE(device.journal.Has("E Collection: failed key=key, value=value"));
    parcel.ReadString();
    EXPECT_EQ(parcel.ReadString(), "key");
    EXPECT_EQ(parcel.GetReadableBytes(), 0U);
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
