#include "linux/fabric/profile_channel.h"

#include <algorithm>

#include "linux/fabric/fabric_log.h"
#include "linux/fabric/guarded_call.h"

namespace ZYNE::Linux {

ProfileChannel::ProfileChannel(const FabricDomain& domain, const Partitions& partitions, const std::string& udid,
    bool isProved, ProfileService& profiles)
    : udid_(udid), profiles_(profiles), reader_(domain, partitions, udid, isProved),
      writer_(domain, partitions.Of(udid)), waitset_(dds_create_waitset(domain.Participant()), "no waitset"),
      interrupted_(dds_create_guardcondition(domain.Participant()), "no guard condition"),
      arrived_(dds_create_readcondition(reader_.Get(), DDS_ANY_STATE), "no read condition") {
    for (const dds_entity_t source : {interrupted_.Get(), arrived_.Get(), reader_.Get()}) {
        MustDds(dds_waitset_attach(waitset_.Get(), source, source), "no waitset");
    }
}

void ProfileChannel::Begin() {
    isJoined_ = profiles_.Join(*this, udid_);
    if (!isJoined_) {
        FabricPrint(LogLevel::WARN, "the device profile is not open: nothing is published");
    }
}

void ProfileChannel::Stop(std::chrono::nanoseconds farewell) {
    if (isJoined_) {
        writer_.WaitForDelivery(std::max<dds_duration_t>(farewell.count(), 0));
        profiles_.Leave();
        isJoined_ = false;
    }
    writer_.Stop();
}

void ProfileChannel::Read() noexcept {
    GuardedCall("reading profiles", [this] {
        dds_waitset_wait(waitset_.Get(), nullptr, 0, DDS_INFINITY);
        reader_.Take(profiles_);
        reader_.CheckWriters(profiles_);
    });
}

}  // namespace ZYNE::Linux
