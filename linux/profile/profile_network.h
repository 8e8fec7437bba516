// Between the device profile and the network that carries it.
#pragma once

#include <cstdint>
#include <string>

#include "linux/profile/profile_record.h"

namespace ZYNE::Linux {

// Who on the network told something: one writer in one run of one device. No two have the same, and none has 0, which
// stands for this device.
using WriterId = uint64_t;

// Takes what peers publish. A peer that restarts has a new writer; the one before goes later, and takes with it only
// what the new one has not told as well.
class ProfileInlet {
public:
    virtual void OnPut(const RecordPtr& record, WriterId writer) = 0;
    virtual void OnDelete(const std::string& udid, const ProfileName& name) = 0;
    // The writer is there no more: what it told is not known any longer. That is no deletion.
    virtual void OnGone(const std::string& udid, WriterId writer) = 0;

protected:
    ~ProfileInlet() = default;
};

class ProfileNetwork {
public:
    // Has every peer, those that come later as well, told what this device has put or deleted last under the record's
    // name. One thread at a time. Blocks for a tenth of a second at most.
    virtual void Publish(const RecordPtr& record, bool isDeleted) = 0;

    // Waits until something has arrived and hands a part of it on. Returns when interrupted, then and later. One thread
    // at a time.
    virtual void Read() noexcept = 0;
    // Any thread.
    virtual void Interrupt() = 0;

protected:
    ~ProfileNetwork() = default;
};

}  // namespace ZYNE::Linux
