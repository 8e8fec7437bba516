// The rows that a query of shared data found.
#pragma once

#include <string>

#include "platform/export.h"

namespace ZYNE {

// One thread at a time. Whoever got it closes it, once, after use; closed or not, it may be dropped on any thread.
//
// Every operation: 0 is success; otherwise the port's own code, and an out parameter may be untouched.
class PLATFORM_API DataShareResultSet {
public:
    virtual ~DataShareResultSet() = default;

    virtual int GetRowCount(int& count) = 0;

    // Makes row `position`, counted from 0, the one that is read. Fails when there is no such row.
    virtual int GoToRow(int position) = 0;

    // Reads the column `columnIndex` of the row, counted from 0 in the order of the query's columns. Fails before the
    // first GoToRow and for a column that does not exist or holds no text.
    virtual int GetString(int columnIndex, std::string& value) = 0;

    // Frees what the port holds for the rows; every later operation fails.
    virtual int Close() = 0;
};

}  // namespace ZYNE
