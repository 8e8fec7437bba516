// Names that the host shares with its plug-ins and clients.
//
// All are constant-initialised: static initialisers and constructors of any unit may read them, whatever the order in
// which units are initialised.
#pragma once

#include "platform/datashare/settings_data.h"

namespace ZYNE::CollaborationFwk::GloableVariables {

// Kinds of key-mouse events that a client registers for.
inline constexpr char KEY_SWITCH[] = "keySwitch";
inline constexpr char KEY_SCREEN[] = "keyScreen";  // also a profile service of TVs
inline constexpr char KEY_KEYBOARD[] = "keyKeyboard";
inline constexpr char KEY_MOVE_TO_EDGE[] = "keyMoveToEdge";

// Profile services that TVs publish, and the characteristic of each. No two characteristics that are subscribed of one
// device may be equal: its subscriptions are told apart by them alone.
inline constexpr char KEY_SCREEN_ON[] = "keyScreenOn";  // of KEY_SCREEN
inline constexpr char WIFI_DISPLAY_SERVICE[] = "wifiDisplay";
inline constexpr char STATUS[] = "status";
inline constexpr char DEVICE_STATUS_SERVICE[] = "deviceStatus";
inline constexpr char SUPPORT_SINK_SERVICE[] = "supportSinkService";

// The listener that is told of every characteristic change.
inline constexpr char SUPER_DEVICE_DP_CHANGE_LISTENER_KEY[] = "superDeviceProfileChange";

// Key-mouse requests of clients: the one action, and the members of request and result.
inline constexpr char ACTION_SEND_KEY_MOUSE_EVENT[] = "sendKeyMouseEvent";
inline constexpr char PARAM_ACTION[] = "action";
inline constexpr char PARAM_EVENT[] = "event";
inline constexpr char PARAM_RESULT[] = "result";

// The settings table that all users share.
inline constexpr const char* SETTING_URI_PROXY = SettingsData::SHARED_TABLE;

// The companion app that carries out crossing.
inline constexpr char PEER_DESK_BUNDLE_NAME[] = "com.talvex.peerdesk";

// The control session that plug-ins send their requests on.
inline constexpr char SESSION_NAME[] = "collaborationCtrlSession";

}  // namespace ZYNE::CollaborationFwk::GloableVariables
