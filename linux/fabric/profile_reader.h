// Reads what other devices publish.
#pragma once

#include <map>
#include <string>

#include "linux/fabric/dds_entity.h"
#include "linux/fabric/fabric_domain.h"
#include "linux/fabric/partitions.h"
#include "linux/profile/profile_network.h"

namespace ZYNE::Linux {

// One thread.
//
// A writer is believed for one device, the one that it names first. Where participants have proved who they are, that
// is the one whose certificate its participant holds. What any other says, and whether it disposes of an instance, does
// not count: nothing here depends on the state of instances, which every writer can change.
class ProfileReader {
public:
    // `self` is this device's udid. `isProved` is whether participants have proved who they are. Throws
    // std::runtime_error.
    ProfileReader(const FabricDomain& domain, const Partitions& partitions, std::string self, bool isProved);

    dds_entity_t Get() const { return reader_.Get(); }

    // Hands on a part of what has arrived.
    void Take(ProfileInlet& inlet);
    // Looks which writers have gone.
    void CheckWriters(ProfileInlet& inlet);

private:
    bool IsBelieved(const std::string& udid, dds_instance_handle_t writer);
    bool IsCredible(const std::string& udid, const dds_guid_t& participant) const;

    const std::string self_;
    const bool isProved_;
    DdsEntity reader_;
    // The device of each writer that is there; empty of one that is not believed. Handles are not used again.
    std::map<dds_instance_handle_t, std::string> writers_;
};

}  // namespace ZYNE::Linux
