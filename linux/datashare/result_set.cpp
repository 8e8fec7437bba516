#include "linux/datashare/result_set.h"

#include <set>
#include <utility>

#include "linux/datashare/share_limits.h"

namespace ZYNE::Linux {
namespace {

std::vector<std::string> AllColumns(const std::vector<ShareTable::Row>& rows) {
    std::set<std::string> names;
    for (const ShareTable::Row& row : rows) {
        for (const auto& [column, value] : row) {
            names.insert(column);
        }
    }
    return {names.begin(), names.end()};
}

}  // namespace

ResultSet::ResultSet(std::vector<std::string> columns, std::vector<ShareTable::Row> rows)
    : columns_(std::move(columns)), rows_(std::move(rows)) {
    if (columns_.empty()) {
        columns_ = AllColumns(rows_);
    }
}

int ResultSet::GetRowCount(int& count) {
    if (closed_) {
        return SHARE_RELEASED;
    }
    count = static_cast<int>(rows_.size());
    return SHARE_OK;
}

int ResultSet::GoToRow(int position) {
    if (closed_) {
        return SHARE_RELEASED;
    }
    if (position < 0 || static_cast<size_t>(position) >= rows_.size()) {
        return SHARE_NO_SUCH_CELL;
    }
    position_ = static_cast<size_t>(position);
    return SHARE_OK;
}

int ResultSet::GetString(int columnIndex, std::string& value) {
    if (closed_) {
        return SHARE_RELEASED;
    }
    if (position_ == NOWHERE || columnIndex < 0 || static_cast<size_t>(columnIndex) >= columns_.size()) {
        return SHARE_NO_SUCH_CELL;
    }
    const ShareTable::Row& row = rows_[position_];
    const auto cell = row.find(columns_[static_cast<size_t>(columnIndex)]);
    if (cell == row.end()) {
        return SHARE_NO_SUCH_CELL;
    }
    value = cell->second;
    return SHARE_OK;
}

int ResultSet::Close() {
    if (std::exchange(closed_, true)) {
        return SHARE_RELEASED;
    }
    rows_ = {};
    return SHARE_OK;
}

}  // namespace ZYNE::Linux
