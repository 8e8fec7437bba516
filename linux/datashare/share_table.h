// The rows of a device's shared data, in the SQLite file that all its processes open.
//
// A share is a table: it has rows, and a row has cells, each the text of one column. A row has a name within its share:
// the text of its column KEYWORD when it has one, else the set of its columns' names. So a setting is one row, whatever
// its value, and what is kept of a device under a column called after it is one row as well. Texts are any bytes.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "linux/store/database.h"
#include "platform/datashare/data_share_predicates.h"

namespace ZYNE::Linux {

// What Insert and Update did.
struct ShareChange {
    int32_t result;                 // rows added or changed, or a ShareCode
    std::vector<std::string> keys;  // the KEYWORD of each row that changed, before and after; without repeats
};

// Any thread; one operation at a time. Other processes may use the file at the same time. A failure of the database is
// logged.
class ShareTable {
public:
    using Row = std::map<std::string, std::string>;  // text by column
    using Conditions = std::vector<DataSharePredicates::Condition>;

    static constexpr char KEY_COLUMN[] = "KEYWORD";

    // Opens the file, or makes it. Throws std::runtime_error with one line.
    explicit ShareTable(const std::filesystem::path& file);

    // The beginnings of URIs that apps serve. Both throw std::exception.
    void SetProviders(const std::vector<std::string>& beginnings);
    std::vector<std::string> GetProviders();

    // Adds a row, in the place of one that has its name. It outlasts the process, and the machine, when this returns.
    ShareChange Insert(const std::string& share, const Row& row);

    // Sets `values` in the rows that meet every condition; the other cells of a row stay. All of them or none.
    ShareChange Update(const std::string& share, const Conditions& conditions, const Row& values);

    // The rows that meet every condition, in the order in which they came to be. A ShareCode.
    int32_t Query(const std::string& share, const Conditions& conditions, std::vector<Row>& rows);

private:
    std::vector<int64_t> FindRows(const std::string& share, const Conditions& conditions);
    Row ReadRow(int64_t id);
    std::vector<Row> ReadRows(const std::vector<int64_t>& ids);
    void WriteRow(int64_t id, const Row& row);
    void UpdateRow(const std::string& share, int64_t id, const Row& values, ShareChange& change);
    int64_t FindRow(const std::string& share, const std::string& name);
    int64_t MakeRow(const std::string& share, const std::string& name);

    std::mutex mutex_;
    SQLite::Database database_;  // guarded by mutex_
};

}  // namespace ZYNE::Linux
