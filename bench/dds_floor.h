// One bare round trip over DDS between two processes, with the transport, security and topic that devices use.
#pragma once

#include <filesystem>
#include <string>

#include "linux/fabric/fabric_domain.h"

namespace ZYNE::Bench {

// One end. Each of the two has the credentials of a device of its own.
class DdsEnd {
public:
    // `peerUdid` is the other end's. Blocks until the two have found each other.
    DdsEnd(const std::filesystem::path& credentials, const std::string& peerUdid, const std::string& tag);

    // Sends `size` bytes and blocks until as many have come back.
    void RoundTrip(size_t size);
    // Sends back what comes, until the other end is gone.
    void Echo();

private:
    void Send(size_t size);
    // Blocks for a message; its size, or nothing when the other end is gone.
    bool Receive(size_t& size);
    bool IsMatched() const;

    Linux::FabricDomain domain_;
    Linux::DdsEntity topic_;  // of both directions
    Linux::DdsEntity reader_;
    Linux::DdsEntity writer_;
    Linux::DdsEntity waitset_;
};

}  // namespace ZYNE::Bench
