#include <new>

#include "platform/host/picker_result.h"
#include "platform/ipc/message_parcel.h"
#include "platform/ipc/ref_base.h"
#include "platform/ipc/string_conversion.h"
#include "tests/support/scarce_memory.h"
#include "tests/support/simulated_device.h"

namespace ZYNE {
namespace {

TEST(ParcelValues, ComeOutInTheOrderInWhichTheyWentIn) {
    MessageParcel parcel;
    EXPECT_TRUE(parcel.WriteInterfaceToken(u"ZYNE.IThing") && parcel.WriteInt32(-1) && parcel.WriteUint32(4294967295) &&
        parcel.WriteBool(true) && parcel.WriteString(std::string("a\0b", 3)) && parcel.WriteString16(u"\xd800") &&
        parcel.WriteStringVector({"x", ""}));
    MessageParcel read(std::vector<uint8_t>(parcel.GetBytes()));
    std::vector<std::string> texts;
    EXPECT_TRUE(read.ReadInterfaceToken() == u"ZYNE.IThing" && read.ReadInt32() == -1 &&
        read.ReadUint32() == 4294967295 && read.ReadBool() && read.ReadString() == std::string("a\0b", 3) &&
        read.ReadString16() == u"\xd800" && read.ReadStringVector(texts));
    EXPECT_EQ(texts, (std::vector<std::string>{"x", ""}));
    EXPECT_EQ(read.GetReadableBytes(), 0U);
}

TEST(ParcelValues, OfAStrangerAreReadOnlyAsFarAsTheBytesGo) {
    for (const std::vector<uint8_t>& bytes : std::vector<std::vector<uint8_t>>{{}, {1, 0, 0}, {5, 0, 0, 0, 'a'},
             {0xff, 0xff, 0xff, 0xff, 'a'}, {0xff, 0xff, 0xff, 0x7f, 'a'}, {2, 0, 0, 0, 1, 0, 0, 0, 'a'}}) {
        Parcel parcel{std::vector<uint8_t>(bytes)};
        std::vector<std::string> texts{"old"};
        EXPECT_FALSE(parcel.ReadStringVector(texts));
        EXPECT_TRUE(texts.empty());
        EXPECT_EQ(parcel.GetReadableBytes(), bytes.size());
    }
}

TEST(StringConversion, GoesBothWaysAndReplacesWhatIsNoText) {
    const std::string good = "a\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80";
    EXPECT_EQ(Str8ToStr16(good), u"aä€😀");
    EXPECT_EQ(Str16ToStr8(u"aä€😀"), good);
    // Cut, overlong, a surrogate, beyond the last character: each byte is replaced by itself.
    for (const std::string bad : {"\xc3", "\xff", "\xc0\x80", "\xed\xa0\x80", "\xf4\x90\x80\x80"}) {
        EXPECT_EQ(Str8ToStr16(bad), std::u16string(bad.size(), u'\xfffd')) << bad;
    }
    EXPECT_EQ(Str16ToStr8(u"\xd83d\xd83d\xde00\xde00"), "\xef\xbf\xbd\xf0\x9f\x98\x80\xef\xbf\xbd");
}

struct Counted : RefBase {
    explicit Counted(int& count) : alive(count) { ++alive; }
    Counted(const Counted& other) : RefBase(other), alive(other.alive) { ++alive; }
    ~Counted() override { --alive; }
    int& alive;
};

TEST(StrongPointer, KeepsItsObjectUntilTheLastGoesAndWeakOnesDoNot) {
    int alive = 0;
    wptr<Counted> weak;
    {
        sptr<Counted> strong = MakeSptr<Counted>(alive);
        weak = wptr<Counted>(strong);
        const sptr<RefBase> base = strong;
        const sptr<Counted> copy = MakeSptr<Counted>(*strong);
        EXPECT_EQ(strong->GetSptrRefCount(), 2);
        EXPECT_EQ(copy->GetSptrRefCount(), 1);
        strong = nullptr;
        EXPECT_TRUE(weak.promote());
        EXPECT_EQ(alive, 2);
    }
    EXPECT_EQ(alive, 0);
    EXPECT_FALSE(weak.promote());
}

struct Hungry : RefBase {
    Hungry() { throw std::bad_alloc(); }
};

TEST(StrongPointer, IsNullWithoutMemoryBeItForTheObjectOrForWhatItHolds) {
    EXPECT_FALSE(MakeSptr<Hungry>());
    int alive = 0;
    const Testing::ScarceMemory scarce;
    EXPECT_FALSE(MakeSptr<Counted>(alive));
}

TEST(AnonymousText, ShowsAtMostAQuarterAndNothingOfAShortOne) {
    for (const auto& [text, anonymous] : std::vector<std::pair<std::string, std::string>>{{"", "**"}, {"1234567", "**"},
             {"12345678", "1**8"}, {"0123456789abcdef", "01**ef"}, {std::string(99, 'x') + "end!", "xxxx**end!"}}) {
        EXPECT_EQ(CollaborationFwk::PickerResult::StringToAnonymous(text), anonymous);
    }
}

}  // namespace
}  // namespace ZYNE
