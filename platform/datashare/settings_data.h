// The system's settings as shared data: the tables, and what their rows look like.
#pragma once

namespace ZYNE::SettingsData {

// A setting is a row: its name, and its value. Apps that keep named values may lay out their rows alike.
inline constexpr char KEY_COLUMN[] = "KEYWORD";
inline constexpr char VALUE_COLUMN[] = "VALUE";

// All tables lie below it.
inline constexpr char PROVIDER[] = "datashare:///com.zyne.settingsdata";

// The table that all users share.
inline constexpr char SHARED_TABLE[] = "datashare:///com.zyne.settingsdata/entry/settingsdata/SETTINGSDATA?Proxy=true";

// The table of one user: the user's id follows, and then PROXY_QUERY.
inline constexpr char USER_TABLE[] = "datashare:///com.zyne.settingsdata/entry/settingsdata/USER_SETTINGSDATA_SECURE_";
inline constexpr char PROXY_QUERY[] = "?Proxy=true";

}  // namespace ZYNE::SettingsData
