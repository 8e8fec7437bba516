// The rows of a device's shared data, in the SQLite file that all its processes open.
//
// A share is a table: it has rows, and a row has cells, each the text of one column. A row has a name within its share:
// the text of its column KEYWORD when it has one, otherwise the set of its columns' names. So a setting is one row,
// whatever its value, and so is what is kept of a device under a column named after it. Texts are any bytes.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "linux/base/database.h"
#include "linux/base/mutex.h"
#include "platform/datashare/data_share_predicates.h"
#include "platform/datashare/settings_data.h"

namespace ZYNE::Linux {

// What Insert and Update did.
struct ShareChange {
    int32_t result;                 // rows added or changed, or a ShareCode
    std::vector<std::string> keys;  // the KEYWORD of each row that changed, before and after; without repeats
};

// Any thread; one operation at a time. Other processes may use the file at the same time. A failure of the database is
// logged. A file that was deleted or replaced is made anew before the next operation, without rows; the log says so.
class ShareTable {
public:
    using Row = std::map<std::string, std::string>;  // text by column
    using Conditions = std::vector<DataSharePredicates::Condition>;

    static constexpr const char* KEY_COLUMN = SettingsData::KEY_COLUMN;

    // Opens the file, or makes it; with `isChecked` it is checked for damage. Throws std::runtime_error with one line.
    ShareTable(std::filesystem::path file, DeviceNotes& notes, bool isChecked = false);

    // The beginnings of URIs that apps serve. Both throw std::exception.
    void SetProviders(const std::vector<std::string>& beginnings);
    std::vector<std::string> GetProviders();

    // Adds a row, or replaces the one that has its name. When this returns, the row survives a crash of the process and
    // of the machine.
    ShareChange Insert(const std::string& share, const Row& row);

    // Sets `values` in all rows that meet every condition, or in none; the other cells of a row stay.
    ShareChange Update(const std::string& share, const Conditions& conditions, const Row& values);

    // The rows that meet every condition, in the order in which they were added. With `columns`, only those cells, and
    // only rows that have one of them. A ShareCode.
    int32_t Query(const std::string& share, const Conditions& conditions, const std::vector<std::string>& columns,
        std::vector<Row>& rows);

private:
    template <typename Operation>
    int32_t Use(const char* name, const Operation& operation);
    void MakeAnew() REQUIRES(mutex_);
    std::vector<std::string> ReadProviders() REQUIRES(mutex_);
    void WriteProviders() REQUIRES(mutex_);
    std::vector<int64_t> FindRows(const std::string& share, const Conditions& conditions) REQUIRES(mutex_);
    Row ReadRow(int64_t id) REQUIRES(mutex_);
    static std::vector<Row> ReadRows(SQLite::Statement& cells);
    void WriteRow(int64_t id, const Row& row) REQUIRES(mutex_);
    void UpdateRow(const std::string& share, int64_t id, const Row& values, ShareChange& change) REQUIRES(mutex_);
    int64_t FindRow(const std::string& share, const std::string& name) REQUIRES(mutex_);
    int64_t MakeRow(const std::string& share, const std::string& name) REQUIRES(mutex_);

    SQLite::Database& Connection() REQUIRES(mutex_) { return database_->Get(); }

    const std::filesystem::path file_;
    DeviceNotes& notes_;
    Mutex mutex_;
    std::vector<std::string> providers_ GUARDED_BY(mutex_);  // as last read or set
    std::unique_ptr<Database> database_ GUARDED_BY(mutex_);  // null after a failure to make it anew
};

}  // namespace ZYNE::Linux
