// This process's place in the DDS domain: the library's domain, one participant, the topics.
#pragma once

#include <optional>
#include <string>

#include "linux/account/credentials.h"
#include "linux/fabric/dds_entity.h"
#include "linux/fabric/fabric_options.h"

namespace ZYNE::Linux {

// Immutable; the entities may be used on any thread.
class FabricDomain {
public:
    // With credentials the participant proves who it is and meets only those who do. Throws std::runtime_error with one
    // line.
    FabricDomain(const FabricOptions& options, const std::optional<Credentials>& credentials);

    dds_entity_t Participant() const { return participant_.Get(); }
    dds_entity_t PresenceTopic() const { return presenceTopic_.Get(); }
    dds_entity_t ProfileTopic() const { return profileTopic_.Get(); }

    // The topic of the control channel in `partition`. One for each channel: the transport compares new endpoints with all
    // others of their topic, and with one topic for all that would be each peer's channel with every other's.
    DdsEntity MakeControlTopic(const std::string& partition) const;

    // Deletes every entity that was made in the domain.
    void Delete() { domain_.Delete(); }

private:
    // In the order in which they are made.
    DdsEntity domain_;
    DdsEntity participant_;
    DdsEntity presenceTopic_;
    DdsEntity profileTopic_;
};

}  // namespace ZYNE::Linux
