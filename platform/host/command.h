// One piece of work that a plug-in made from a peer's request; the host runs it.
#pragma once

#include <cstdint>
#include <string>

#include "platform/export.h"

namespace ZYNE::CollaborationFwk {

// Held by std::shared_ptr. The host calls AuthenticationCheck, Execute and Release, in this order and on one thread.
// What Execute posts to the pool may hold the command weakly: the host keeps it until it has answered its session, or
// the session is over.
class PLATFORM_API Command {
public:
    virtual ~Command() = default;

    // Starts the work for the session `collaborationSessionId`. Must not block. 0 started.
    virtual int32_t Execute(int collaborationSessionId) = 0;

    // The host has no further use for the command. 0 is success.
    virtual int32_t Release(uint32_t reason) = 0;

    // Whether the request of `peer` may be executed.
    virtual bool AuthenticationCheck(std::string peer) = 0;
};

}  // namespace ZYNE::CollaborationFwk
