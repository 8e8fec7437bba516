#include "linux/datashare/share_table.h"

#include <exception>
#include <utility>

#include <SQLiteCpp/Transaction.h>

#include "linux/base/log_domains.h"
#include "linux/datashare/share_limits.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

constexpr LogDomain LOG = LogDomains::DATA_SHARE;

// Names and values are blobs: they may hold zero bytes and need not be UTF-8.
constexpr char SCHEMA[] = R"(
    CREATE TABLE IF NOT EXISTS provider (beginning BLOB NOT NULL);
    CREATE TABLE IF NOT EXISTS row (
        id INTEGER PRIMARY KEY, share BLOB NOT NULL, name BLOB NOT NULL, UNIQUE (share, name));
    CREATE TABLE IF NOT EXISTS cell (
        row INTEGER NOT NULL, column BLOB NOT NULL, value BLOB NOT NULL, PRIMARY KEY (row, column)) WITHOUT ROWID;
)";

constexpr int64_t NO_ROW = 0;  // SQLite counts from 1

// Ends the operation, and its transaction with it.
struct Refusal {
    ShareCode code;
};

void Bind(SQLite::Statement& statement, int index, const std::string& bytes) {
    statement.bind(index, bytes.data(), static_cast<int>(bytes.size()));
}

std::string ReadBytes(SQLite::Statement& statement, int index) {
    const SQLite::Column column = statement.getColumn(index);
    const void* bytes = column.getBlob();  // null where there are none
    return bytes != nullptr ? std::string(static_cast<const char*>(bytes), static_cast<size_t>(column.getBytes()))
                            : std::string();
}

std::string NameOfKey(const std::string& key) {
    return "k" + key;
}

// Each column's name after its length, so that no two sets of columns have the same name.
std::string NameOf(const ShareTable::Row& row) {
    const auto key = row.find(ShareTable::KEY_COLUMN);
    if (key != row.end()) {
        return NameOfKey(key->second);
    }
    std::string name = "c";
    for (const auto& [column, value] : row) {
        name += std::to_string(column.size()) + ":" + column;
    }
    return name;
}

void CheckRow(const ShareTable::Row& row) {
    size_t size = 0;
    bool fits = !row.empty() && row.size() <= ShareLimits::COLUMNS;
    for (const auto& [column, value] : row) {
        const size_t longest = column == ShareTable::KEY_COLUMN ? ShareLimits::NAME : ShareLimits::VALUE;
        fits = fits && !column.empty() && column.size() <= ShareLimits::NAME && value.size() <= longest;
        size += value.size();
    }
    if (!fits || size > ShareLimits::ROW) {
        throw Refusal{SHARE_BAD_ROW};
    }
}

// The SQL condition for the rows of a share that meet `conditions`. A condition on KEYWORD is one on the name, which is
// indexed.
std::string Meets(const ShareTable::Conditions& conditions) {
    if (conditions.size() > ShareLimits::COLUMNS) {
        throw Refusal{SHARE_BAD_ROW};
    }
    std::string text = "share = ?";
    for (const auto& [column, value] : conditions) {
        text += column == ShareTable::KEY_COLUMN
            ? " AND name = ?"
            : " AND EXISTS (SELECT 1 FROM cell AS c WHERE c.row = id AND c.column = ? AND c.value = ?)";
    }
    return text;
}

// Binds the parameters of Meets; returns how many there are.
int BindConditions(SQLite::Statement& statement, const std::string& share, const ShareTable::Conditions& conditions) {
    int index = 0;
    Bind(statement, ++index, share);
    for (const auto& [column, value] : conditions) {
        if (column == ShareTable::KEY_COLUMN) {
            Bind(statement, ++index, NameOfKey(value));
        } else {
            Bind(statement, ++index, column);
            Bind(statement, ++index, value);
        }
    }
    return index;
}

void NoteKey(const ShareTable::Row& row, ShareChange& change) {
    const auto key = row.find(ShareTable::KEY_COLUMN);
    if (key != row.end() && (change.keys.empty() || change.keys.back() != key->second)) {
        change.keys.push_back(key->second);
    }
}

std::unique_ptr<Database> Open(const std::filesystem::path& file, DeviceNotes& notes, bool isChecked) {
    return std::make_unique<Database>(DatabaseOptions{file, Durability::MACHINE, SCHEMA, notes, false, isChecked});
}

}  // namespace

ShareTable::ShareTable(std::filesystem::path file, DeviceNotes& notes, bool isChecked)
    : file_(std::move(file)), notes_(notes), database_(Open(file_, notes, isChecked)) {}

// Runs an operation on the database. Returns its result, or the code of its failure.
template <typename Operation>
int32_t ShareTable::Use(const char* name, const Operation& operation) {
    try {
        const MutexLock lock(mutex_);
        if (!database_ || !database_->IsInPlace()) {
            MakeAnew();
        }
        return database_->Run(operation);
    } catch (const Refusal& refusal) {
        return refusal.code;
    } catch (const std::exception& error) {
        LogPrint(LogType::CORE, LogLevel::ERROR, LOG, "%{public}s failed: %{public}s", name, error.what());
        return SHARE_STORE_FAILED;
    }
}

// Another process of the device may have made it anew already.
void ShareTable::MakeAnew() {
    if (database_) {
        const Database::Remains remains = database_->GetRemains();
        database_.reset();
        remains.Remove();
        LogPrint(LogType::CORE, LogLevel::WARN, LOG, "%{public}s was deleted or replaced, and is opened anew",
            file_.string());
    }
    database_ = Open(file_, notes_, false);
    database_->Run([this]() REQUIRES(mutex_) { WriteProviders(); });
}

void ShareTable::SetProviders(const std::vector<std::string>& beginnings) {
    const MutexLock lock(mutex_);
    providers_ = beginnings;
    database_->Run([this]() REQUIRES(mutex_) { WriteProviders(); });
}

// Nothing is written where nothing has changed: a device starts on a full disk.
void ShareTable::WriteProviders() {
    SQLite::Transaction transaction(Connection(), SQLite::TransactionBehavior::IMMEDIATE);
    if (ReadProviders() == providers_) {
        return;
    }
    Connection().exec("DELETE FROM provider");
    for (const std::string& beginning : providers_) {
        SQLite::Statement insert(Connection(), "INSERT INTO provider VALUES (?)");
        Bind(insert, 1, beginning);
        insert.exec();
    }
    transaction.commit();
}

std::vector<std::string> ShareTable::GetProviders() {
    const MutexLock lock(mutex_);
    database_->Run([this]() REQUIRES(mutex_) { providers_ = ReadProviders(); });
    return providers_;
}

std::vector<std::string> ShareTable::ReadProviders() {
    std::vector<std::string> beginnings;
    SQLite::Statement select(Connection(), "SELECT beginning FROM provider ORDER BY rowid");
    while (select.executeStep()) {
        beginnings.push_back(ReadBytes(select, 0));
    }
    return beginnings;
}

ShareChange ShareTable::Insert(const std::string& share, const Row& row) {
    ShareChange change{0, {}};
    change.result = Use("insert", [&]() REQUIRES(mutex_) {
        CheckRow(row);
        SQLite::Transaction transaction(Connection(), SQLite::TransactionBehavior::IMMEDIATE);
        const std::string name = NameOf(row);
        const int64_t found = FindRow(share, name);
        WriteRow(found != NO_ROW ? found : MakeRow(share, name), row);
        transaction.commit();
        database_->Settle();
        NoteKey(row, change);
        return 1;
    });
    return change;
}

ShareChange ShareTable::Update(const std::string& share, const Conditions& conditions, const Row& values) {
    ShareChange change{0, {}};
    change.result = Use("update", [&]() REQUIRES(mutex_) {
        CheckRow(values);
        SQLite::Transaction transaction(Connection(), SQLite::TransactionBehavior::IMMEDIATE);
        const std::vector<int64_t> ids = FindRows(share, conditions);
        for (const int64_t id : ids) {
            UpdateRow(share, id, values, change);
        }
        transaction.commit();
        database_->Settle();
        return static_cast<int32_t>(ids.size());
    });
    return change;
}

int32_t ShareTable::Query(const std::string& share, const Conditions& conditions,
    const std::vector<std::string>& columns, std::vector<Row>& rows) {
    return Use("query", [&]() REQUIRES(mutex_) {
        std::string text = "SELECT id, column, value FROM row JOIN cell ON cell.row = id WHERE " + Meets(conditions);
        for (size_t i = 0; i < columns.size(); ++i) {
            text += i == 0 ? " AND column IN (?" : ", ?";
        }
        text += columns.empty() ? " ORDER BY id" : ") ORDER BY id";
        SQLite::Statement cells(Connection(), text);
        int index = BindConditions(cells, share, conditions);
        for (const std::string& column : columns) {
            Bind(cells, ++index, column);
        }
        rows = ReadRows(cells);
        return SHARE_OK;
    });
}

std::vector<int64_t> ShareTable::FindRows(const std::string& share, const Conditions& conditions) {
    SQLite::Statement select(Connection(), "SELECT id FROM row WHERE " + Meets(conditions) + " ORDER BY id");
    BindConditions(select, share, conditions);
    std::vector<int64_t> ids;
    while (select.executeStep()) {
        ids.push_back(select.getColumn(0).getInt64());
    }
    return ids;
}

ShareTable::Row ShareTable::ReadRow(int64_t id) {
    Row row;
    SQLite::Statement select(Connection(), "SELECT column, value FROM cell WHERE row = ?");
    select.bind(1, id);
    while (select.executeStep()) {
        row.emplace(ReadBytes(select, 0), ReadBytes(select, 1));
    }
    return row;
}

// The cells of one row come one after the other.
std::vector<ShareTable::Row> ShareTable::ReadRows(SQLite::Statement& cells) {
    std::vector<Row> rows;
    int64_t last = NO_ROW;
    size_t size = 0;
    while (cells.executeStep()) {
        if (const int64_t id = cells.getColumn(0).getInt64(); id != last) {
            rows.emplace_back();
            last = id;
        }
        std::string column = ReadBytes(cells, 1);
        std::string value = ReadBytes(cells, 2);
        size += column.size() + value.size();
        if (size > ShareLimits::RESULT) {
            throw Refusal{SHARE_TOO_LARGE};
        }
        rows.back().emplace(std::move(column), std::move(value));
    }
    return rows;
}

void ShareTable::WriteRow(int64_t id, const Row& row) {
    SQLite::Statement clear(Connection(), "DELETE FROM cell WHERE row = ?");
    clear.bind(1, id);
    clear.exec();
    SQLite::Statement insert(Connection(), "INSERT INTO cell VALUES (?, ?, ?)");
    for (const auto& [column, value] : row) {
        insert.bind(1, id);
        Bind(insert, 2, column);
        Bind(insert, 3, value);
        insert.exec();
        insert.reset();
    }
}

void ShareTable::UpdateRow(const std::string& share, int64_t id, const Row& values, ShareChange& change) {
    Row row = ReadRow(id);
    NoteKey(row, change);
    for (const auto& [column, value] : values) {
        row.insert_or_assign(column, value);
    }
    CheckRow(row);
    NoteKey(row, change);
    const std::string name = NameOf(row);
    const int64_t holder = FindRow(share, name);
    if (holder != NO_ROW && holder != id) {
        throw Refusal{SHARE_NAME_TAKEN};
    }
    if (holder == NO_ROW) {
        SQLite::Statement rename(Connection(), "UPDATE row SET name = ? WHERE id = ?");
        Bind(rename, 1, name);
        rename.bind(2, id);
        rename.exec();
    }
    WriteRow(id, row);
}

int64_t ShareTable::FindRow(const std::string& share, const std::string& name) {
    SQLite::Statement select(Connection(), "SELECT id FROM row WHERE share = ? AND name = ?");
    Bind(select, 1, share);
    Bind(select, 2, name);
    return select.executeStep() ? select.getColumn(0).getInt64() : NO_ROW;
}

int64_t ShareTable::MakeRow(const std::string& share, const std::string& name) {
    SQLite::Statement count(Connection(), "SELECT COUNT(*) FROM row WHERE share = ?");
    Bind(count, 1, share);
    if (count.executeStep() && count.getColumn(0).getInt64() >= static_cast<int64_t>(ShareLimits::ROWS)) {
        throw Refusal{SHARE_FULL};
    }
    SQLite::Statement insert(Connection(), "INSERT INTO row (share, name) VALUES (?, ?)");
    Bind(insert, 1, share);
    Bind(insert, 2, name);
    insert.exec();
    return Connection().getLastInsertRowid();
}

}  // namespace ZYNE::Linux
