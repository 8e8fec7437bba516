// What the library's operations answer when they fail; 0 is success.
#pragma once

#include <cstdint>

namespace ZYNE::CollaborationFwk::ResultCodes {

inline constexpr int32_t INVALID_PARAMETER = 1001;      // also: a profile change that was not handled
inline constexpr int32_t UNKNOWN_EVENT = 1005;          // of a key-mouse request
inline constexpr int32_t TOKEN_NOT_WRITTEN = 1006;      // an interface token did not fit the parcel
inline constexpr int32_t FIELD_NOT_WRITTEN = 1007;      // a field did not fit the parcel
inline constexpr int32_t IPC_NOT_SENT = 1008;           // the request failed on its way, or no answer came
inline constexpr int32_t NO_REMOTE = 1009;              // the service does not run
inline constexpr int32_t NO_RUNNING_LOCK = 1023;        // to keep the screen on with
inline constexpr int32_t NO_ANSWER = 2201;              // from the peer in time, or nothing to answer the peer with
inline constexpr int32_t NOT_SENT = 2203;               // the host could not send the request
inline constexpr int32_t UNKNOWN_REQUEST = 2204;        // an answer that nobody waits for
inline constexpr int32_t ANSWER_MISMATCH = 2205;        // the names answered are not the names asked for
inline constexpr int32_t ALREADY_SUBSCRIBED = 2206;     // the device is recorded as online
inline constexpr int32_t DEVICE_NOT_RECORDED = 2207;    // nothing to unsubscribe
inline constexpr int32_t TASK_NOT_POSTED = 2209;        // the pool refused
inline constexpr int32_t LISTENER_NOT_CREATED = 2213;   // memory is out
inline constexpr int32_t UNKNOWN_ACTION = 2451;         // of a key-mouse request
inline constexpr int32_t SERVICE_NOT_CONNECTED = 2514;  // the companion is not installed, or refused

}  // namespace ZYNE::CollaborationFwk::ResultCodes
