// Between the device profile and the network that carries it.
#pragma once

#include <cstdint>
#include <string>

#include "linux/profile/profile_record.h"

namespace ZYNE::Linux {

// Who on the network told something: one link to one device. No two have the same, and none has 0, which stands for
// this device.
using WriterId = uint64_t;

// Takes what peers publish, on the network's thread; does not block it.
class ProfileInlet {
public:
    // False when it is not taken: it is more than a device may publish, or the network has been left. What was known
    // before under the name stays.
    virtual bool OnPut(const RecordPtr& record, WriterId writer) = 0;
    virtual void OnDelete(const std::string& udid, const ProfileName& name) = 0;
    // The writer is there no more: what it told, and no other told after it, is not known any longer. That is no
    // deletion.
    virtual void OnGone(const std::string& udid, WriterId writer) = 0;

protected:
    ~ProfileInlet() = default;
};

class ProfileNetwork {
public:
    // Has every peer, those that come later as well, told what this device has put or deleted last under the record's
    // name. One thread at a time. Does not wait for a peer.
    virtual void Publish(const RecordPtr& record, bool isDeleted) = 0;

protected:
    ~ProfileNetwork() = default;
};

}  // namespace ZYNE::Linux
