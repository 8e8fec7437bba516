// Carries the device profile: publishes this device's, reads the others'.
#pragma once

#include <chrono>
#include <string>

#include "linux/fabric/dds_entity.h"
#include "linux/fabric/fabric_domain.h"
#include "linux/fabric/partitions.h"
#include "linux/fabric/profile_reader.h"
#include "linux/fabric/profile_writer.h"
#include "linux/profile/profile_service.h"

namespace ZYNE::Linux {

// Any thread. Its waitset is its own: what is read here never waits for the control channel, nor holds that up.
class ProfileChannel final : public ProfileNetwork {
public:
    // For the device `udid`. `isProved` is whether participants have proved who they are. Throws std::runtime_error.
    ProfileChannel(const FabricDomain& domain, const Partitions& partitions, const std::string& udid, bool isProved,
        ProfileService& profiles);
    ProfileChannel(const ProfileChannel&) = delete;
    ProfileChannel& operator=(const ProfileChannel&) = delete;
    ~ProfileChannel() { Stop({}); }

    // Joins the profile service. Once. When that is not open for this device, the device publishes nothing.
    void Begin();

    // Leaves it, after peers have been given `farewell` to take what was published last. The domain is there until this
    // returns.
    void Stop(std::chrono::nanoseconds farewell);

    void Publish(const RecordPtr& record, bool isDeleted) override { writer_.Publish(record, isDeleted); }
    void Read() noexcept override;
    void Interrupt() override { dds_set_guardcondition(interrupted_.Get(), true); }

private:
    const std::string udid_;
    ProfileService& profiles_;
    ProfileReader reader_;
    ProfileWriter writer_;
    DdsEntity waitset_;
    DdsEntity interrupted_;
    DdsEntity arrived_;
    bool isJoined_ = false;
};

}  // namespace ZYNE::Linux
