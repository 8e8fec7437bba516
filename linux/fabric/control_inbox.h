// Brings each control message to where it belongs.
#pragma once

#include <atomic>
#include <cstddef>
#include <deque>
#include <memory>
#include <string>

#include "linux/fabric/control_reader.h"
#include "linux/fabric/peer_table.h"
#include "linux/fabric/session_table.h"

namespace ZYNE::Linux {

// One thread, the one that reads. Small messages are handled on it; large ones on a thread of the pool, so that they do
// not hold up the others.
//
// A device may be heard before it is known to be online, since each half of a channel is matched on its own. Its
// messages are held for a moment: until it is online, and can be answered.
class ControlInbox {
public:
    ControlInbox(const FabricDomain& domain, const std::string& partition, const PeerTable& peers,
        std::shared_ptr<SessionTable> sessions);

    dds_entity_t Reader() const { return reader_.Get(); }

    void TakeMessages();
    // Handles what was held of a device that has come online.
    void ReleaseHeld(const Peer& peer);
    // Drops what was held for too long.
    void DropOldHeld();

private:
    struct Held {
        dds_guid_t sender;
        ControlMessage message;
        SessionTable::Clock::time_point since;
    };

    void Hold(const dds_guid_t& sender, ControlMessage message);
    void DropFirstHeld();
    void Handle(const std::string& networkId, ControlMessage message);
    void HandleOnPool(const std::string& networkId, ControlMessage message);

    const PeerTable& peers_;
    const std::shared_ptr<SessionTable> sessions_;
    const std::shared_ptr<std::atomic<size_t>> bytesOnPool_ = std::make_shared<std::atomic<size_t>>(0);
    ControlReader reader_;
    std::deque<Held> held_;
    size_t heldBytes_ = 0;
};

}  // namespace ZYNE::Linux
