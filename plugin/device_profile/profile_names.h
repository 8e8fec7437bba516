// What the library publishes in the device profile and subscribes of peers.
#pragma once

namespace ZYNE::CollaborationFwk::ProfileNames {

inline constexpr char KEY_MOUSE_SERVICE[] = "SwitchStatus_Key_Mouse_Edge_Crossing";
inline constexpr char KEY_MOUSE_CHARACTERISTIC[] = "SwitchStatus";
inline constexpr char INFO_COLLECTION_SERVICE[] = "infoCollection";  // its type, too
inline constexpr char INFO_COLLECTION_CHARACTERISTIC[] = "infoCollectionCharacterKey";

}  // namespace ZYNE::CollaborationFwk::ProfileNames
