// Announces this device and reads what others announce.
#pragma once

#include <functional>
#include <mutex>

#include "linux/fabric/announcement.h"
#include "linux/fabric/dds_entity.h"
#include "linux/fabric/fabric_domain.h"
#include "linux/fabric/partitions.h"
#include "linux/fabric/wire.h"

namespace ZYNE::Linux {

// Any thread.
class PresenceWriter {
public:
    // Throws std::runtime_error, also when the device's name is too long.
    PresenceWriter(const FabricDomain& domain, const Partitions& partitions, const Announcement& device);

    // Tells the others that this device is there, those that come later as well. Throws std::runtime_error.
    void Announce();

    // What is announced of the screen from now on; the others hear of a change at once. Throws like Announce.
    void SetScreenStatus(ScreenStatus status);

    // Tells the others that this device leaves, and nothing from then on.
    void Withdraw();

private:
    void Write() const;  // under mutex_

    std::mutex mutex_;  // held while a sample is written: the others get them in the order in which they were made
    ZYNE_Linux_Wire_Presence sample_;  // guarded by mutex_
    bool isThere_ = false;             // guarded by mutex_; announced, and not withdrawn
    DdsEntity writer_;
};

// One thread.
class PresenceReader {
public:
    // One announcement, or the end of one, of which only the udid is given.
    struct Arrival {
        Announcement device;
        ScreenStatus screenStatus;
        bool isThere;
        dds_instance_handle_t writer;
    };
    using Handler = std::function<void(const Arrival& arrival)>;

    PresenceReader(const FabricDomain& domain, const Partitions& partitions);

    dds_entity_t Get() const { return reader_.Get(); }

    // Hands on everything that has arrived.
    void Take(const Handler& handler);

private:
    DdsEntity reader_;
};

}  // namespace ZYNE::Linux
