// Sends control messages to one device.
#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

#include "linux/fabric/dds_entity.h"
#include "linux/fabric/fabric_code.h"
#include "linux/fabric/fabric_domain.h"
#include "platform/host/service_info.h"

namespace ZYNE::Linux {

// Any thread. Sending blocks until the transport has taken the message: for a second when the device has frozen, for
// four when it is there but takes nothing. For a second after that, sending fails at once, so that one device does not
// hold up the threads of all.
class ControlWriter {
public:
    // Throws std::runtime_error.
    ControlWriter(const FabricDomain& domain, const std::string& partition);

    dds_entity_t Get() const { return writer_.Get(); }

    FabricCode SendRequest(int32_t session, const std::string& callerString, const std::string& sessionName,
        const CollaborationFwk::ServiceInfo& service) const;
    FabricCode SendMessage(int32_t session, uint32_t type, std::string_view payload) const;

    // Waits until the device has what was sent.
    void WaitForDelivery(dds_duration_t longest) const { dds_wait_for_acks(writer_.Get(), longest); }

private:
    using Clock = std::chrono::steady_clock;

    FabricCode Write(const void* sample) const;

    DdsEntity topic_;
    DdsEntity writer_;
    mutable std::mutex mutex_;  // held while the transport takes a message: it takes one after the other
    mutable Clock::time_point stalledUntil_{};  // guarded by mutex_
};

}  // namespace ZYNE::Linux
