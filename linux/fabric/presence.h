// Announces this device and reads what others announce.
#pragma once

#include <functional>

#include "linux/fabric/announcement.h"
#include "linux/fabric/dds_entity.h"
#include "linux/fabric/fabric_domain.h"
#include "linux/fabric/partitions.h"
#include "linux/fabric/wire.h"

namespace ZYNE::Linux {

class PresenceWriter {
public:
    // Throws std::runtime_error, also when the device's name is too long.
    PresenceWriter(const FabricDomain& domain, const Partitions& partitions, const Announcement& device);

    // Tells the others that this device is there, those that come later as well. Throws std::runtime_error.
    void Announce() const;

    // Tells the others that this device leaves.
    void Withdraw() const;

private:
    const ZYNE_Linux_Wire_Presence sample_;
    DdsEntity writer_;
};

// One thread.
class PresenceReader {
public:
    // One announcement, or the end of one; its writer's handle. Of an end only the udid is given.
    using Handler = std::function<void(const Announcement& device, bool isThere, dds_instance_handle_t writer)>;

    PresenceReader(const FabricDomain& domain, const Partitions& partitions);

    dds_entity_t Get() const { return reader_.Get(); }

    // Hands on everything that has arrived.
    void Take(const Handler& handler);

private:
    DdsEntity reader_;
};

}  // namespace ZYNE::Linux
