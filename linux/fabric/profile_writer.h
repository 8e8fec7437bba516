// Publishes this device's profiles.
#pragma once

#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <thread>

#include "linux/fabric/dds_entity.h"
#include "linux/fabric/fabric_domain.h"
#include "linux/profile/profile_record.h"

namespace ZYNE::Linux {

// A peer that has frozen, or takes nothing, can hold the transport back. What is not sent then is sent later by a
// thread of its own, in its last state.
class ProfileWriter {
public:
    // Throws std::runtime_error.
    ProfileWriter(const FabricDomain& domain, const std::string& partition);
    ProfileWriter(const ProfileWriter&) = delete;
    ProfileWriter& operator=(const ProfileWriter&) = delete;
    ~ProfileWriter() { Stop(); }

    // One thread at a time. Blocks for a tenth of a second at most.
    void Publish(const RecordPtr& record, bool isDeleted);

    // Waits until the peers have what was sent.
    void WaitForDelivery(dds_duration_t longest) const { dds_wait_for_acks(writer_.Get(), longest); }

    // Gives up what has not been sent.
    void Stop();

private:
    struct State {
        RecordPtr record;
        bool isDeleted;

        bool operator==(const State&) const = default;
    };

    dds_return_t Write(const State& state) const;
    void SendLater();

    DdsEntity writer_;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::map<ProfileName, State> unsent_;  // guarded by mutex_; while there is one, only the thread writes
    bool stopping_ = false;                // guarded by mutex_
    std::thread thread_;                   // last: it uses the others
};

}  // namespace ZYNE::Linux
