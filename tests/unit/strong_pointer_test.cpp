#include <new>

#include "platform/ipc/ref_base.h"
#include "plugin/device_profile/device_profile_manager.h"
#include "tests/support/scarce_memory.h"
#include "tests/support/simulated_device.h"

namespace ZYNE::CollaborationFwk {
namespace {

class OutOfMemory : public Testing::LibraryTest {};

struct Small : RefBase {};
struct Hungry : RefBase {
    Hungry() { throw std::bad_alloc(); }
};

TEST_F(OutOfMemory, MakesNoObjectBeItForItselfOrForWhatItHolds) {
    EXPECT_FALSE(MakeSptr<Hungry>());
    {
        const Testing::ScarceMemory scarce;
        EXPECT_FALSE(MakeSptr<Small>());
    }
    EXPECT_TRUE(MakeSptr<Small>());
}

TEST_F(OutOfMemory, LeavesADeviceRecordedAndUnsubscribed) {
    auto& manager = DeviceProfileManager::GetInstance();
    const auto peer = MakeSptr<DeviceInfo>("udid", "network", "desk", DeviceType::PC);
    {
        const Testing::ScarceMemory scarce;
        EXPECT_EQ(manager.SubscribeOnlineDevice(peer), 2213);
    }
    EXPECT_EQ(manager.SubscribeOnlineDevice(peer), 2206);
    EXPECT_TRUE(device.journal.Calls().empty());
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
