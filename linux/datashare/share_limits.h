// What the port's data share answers besides success, and its limits.
//
// Sizes are bytes. What comes over the bus is held to the same limits as what is sent.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ZYNE::Linux {

// Results of DataShareHelper, DataShareResultSet and DataShareUtils that are not a number of rows.
enum ShareCode : int32_t {
    SHARE_OK = 0,
    SHARE_NOT_UP = -1,         // the device's bus is not up, or has gone
    SHARE_RELEASED = -2,       // the helper was released, or the result set closed
    SHARE_BAD_URI = -3,        // no URI of shared data, or too long
    SHARE_NOT_PROVIDED = -4,   // the URI is not of the helper's provider
    SHARE_BAD_ROW = -5,        // a row or a change without values, or with too many or too large ones
    SHARE_FULL = -6,           // the share has no room for a further row
    SHARE_NAME_TAKEN = -7,     // the update would give two rows one name
    SHARE_STORE_FAILED = -8,   // the database failed; the log tells how
    SHARE_NO_OBSERVER = -9,    // no observer was given, or it is not registered
    SHARE_NO_SUCH_CELL = -10,  // no such row or column, or it holds no text
    SHARE_NO_SUCH_ROW = -11,   // there is no such setting
    SHARE_TOO_LARGE = -12,     // more rows were found than a result holds
};

namespace ShareLimits {

inline constexpr size_t URI = 2048;
inline constexpr size_t NAME = 1024;                  // of a column, or of the row that KEYWORD names
inline constexpr size_t VALUE = 4u << 20;             // of a cell
inline constexpr size_t NOTICE = VALUE + (1u << 20);  // of the data of a notice: a value, and what is around it
inline constexpr size_t ROW = 16u << 20;              // of the values of a row
inline constexpr size_t COLUMNS = 64;                 // of a row; conditions and columns of a query
inline constexpr size_t ROWS = 10'000;                // of a share
inline constexpr size_t RESULT = 64u << 20;           // of the values that a query found
inline constexpr size_t NOTICE_PARTS = 64;            // URIs, or value buckets, of a notice
inline constexpr size_t WAITING_NOTICES = 64u << 20;  // of those that one observer has not been told yet

}  // namespace ShareLimits

}  // namespace ZYNE::Linux
