// What happened to a characteristic of a peer.
#pragma once

namespace ZYNE::CollaborationFwk {

enum class SyncProfileChangeType : int { ADD = 0, UPDATE = 1, DELETE = 2 };

}  // namespace ZYNE::CollaborationFwk
