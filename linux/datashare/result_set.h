// The rows that a query found, read into memory.
#pragma once

#include <string>
#include <vector>

#include "linux/datashare/share_table.h"
#include "platform/datashare/data_share_result_set.h"

namespace ZYNE::Linux {

// Answers ShareCodes.
class ResultSet final : public DataShareResultSet {
public:
    // Every column of the rows, in the order of names, when `columns` is empty.
    ResultSet(std::vector<std::string> columns, std::vector<ShareTable::Row> rows);

    int GetRowCount(int& count) override;
    int GoToRow(int position) override;
    int GetString(int columnIndex, std::string& value) override;
    int Close() override;

private:
    static constexpr size_t NOWHERE = SIZE_MAX;

    std::vector<std::string> columns_;
    std::vector<ShareTable::Row> rows_;
    size_t position_ = NOWHERE;
    bool closed_ = false;
};

}  // namespace ZYNE::Linux
