#include "plugin/info_collection/device_dynamic_info.h"

#include <cstring>
#include <type_traits>

#include "tests/support/simulated_device.h"

namespace ZYNE::CollaborationFwk {
namespace {

class Record : public Testing::LibraryTest {};

TEST_F(Record, ComesOutOfAParcelAsItWentInAndEmptyOutOfAnEmptyOne) {
    Parcel parcel;
    for (const auto& [key, value] :
        std::vector<std::pair<std::string, std::string>>{{"switch", std::string("o\0n", 3)}, {"empty", ""}}) {
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
