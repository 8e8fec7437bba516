// Reads the control messages that are meant for this device.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <unordered_map>

#include "linux/fabric/control_message.h"
#include "linux/fabric/dds_entity.h"
#include "linux/fabric/fabric_domain.h"

namespace ZYNE::Linux {

// One thread.
class ControlReader {
public:
    using Handler = std::function<void(const dds_guid_t& sender, ControlMessage message)>;

    // Throws std::runtime_error.
    ControlReader(const FabricDomain& domain, const std::string& partition);

    dds_entity_t Get() const { return reader_.Get(); }

    // Hands on everything that has arrived, in order, with the participant that sent it.
    void Take(const Handler& handler);

private:
    std::optional<dds_guid_t> SenderOf(dds_instance_handle_t writer);

    DdsEntity topic_;
    DdsEntity reader_;
    // Handles are not used again. The message of a writer that has gone meanwhile can still be told from others'.
    std::unordered_map<dds_instance_handle_t, dds_guid_t> senders_;
};

}  // namespace ZYNE::Linux
