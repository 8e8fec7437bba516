#include "linux/profile/profile_store.h"

#include <memory>
#include <utility>

namespace ZYNE::Linux {
namespace {

constexpr char SCHEMA[] = "CREATE TABLE IF NOT EXISTS profiles (kind INTEGER NOT NULL, service TEXT NOT NULL, "
                          "key TEXT NOT NULL, user INTEGER NOT NULL, value BLOB NOT NULL, "
                          "PRIMARY KEY (kind, service, key))";

// The file is this process's alone while it is open, which spares each commit the locks. A checkpoint, after that many
// pages, waits for the disk: seldom.
constexpr char CHEAP_COMMITS[] = "PRAGMA locking_mode = EXCLUSIVE; PRAGMA wal_autocheckpoint = 8192";

SQLite::Database OpenProfiles(const std::filesystem::path& file) {
    SQLite::Database database = OpenDatabase(file, Durability::PROCESS, SCHEMA);
    database.exec(CHEAP_COMMITS);
    return database;
}

// Binds the name to the statement's first three parameters.
void BindName(SQLite::Statement& statement, ProfileKind kind, const std::string& service, const std::string& key) {
    statement.bind(1, static_cast<int32_t>(kind));
    statement.bindNoCopy(2, service);
    statement.bindNoCopy(3, key);
}

// Runs a statement that changes one row, and readies it for the next time however it ends.
void RunOnce(SQLite::Statement& statement) {
    const auto reset = [](SQLite::Statement* used) {
        used->tryReset();
        used->clearBindings();
    };
    const std::unique_ptr<SQLite::Statement, decltype(reset)> readied(&statement, reset);
    statement.exec();
}

}  // namespace

ProfileStore::ProfileStore(const std::filesystem::path& file)
    : database_(OpenProfiles(file)),
      put_(database_,
          "INSERT INTO profiles (kind, service, key, user, value) VALUES (?, ?, ?, ?, ?) "
          "ON CONFLICT DO UPDATE SET user = excluded.user, value = excluded.value"),
      delete_(database_, "DELETE FROM profiles WHERE kind = ? AND service = ? AND key = ?") {}

std::vector<RecordPtr> ProfileStore::Load(const std::string& udid) {
    std::vector<RecordPtr> records;
    SQLite::Statement all(database_, "SELECT kind, service, key, user, value FROM profiles");
    while (all.executeStep()) {
        auto record = std::make_shared<ProfileRecord>();
        record->kind = static_cast<ProfileKind>(all.getColumn(0).getInt());
        record->profile.SetDeviceId(udid);
        record->profile.SetServiceName(all.getColumn(1).getString());
        record->profile.SetCharacteristicKey(all.getColumn(2).getString());
        record->profile.SetUserId(all.getColumn(3).getInt());
        record->profile.SetCharacteristicValue(all.getColumn(4).getString());
        records.push_back(std::move(record));
    }
    return records;
}

void ProfileStore::Put(const ProfileRecord& record) {
    const CharacteristicProfile& profile = record.profile;
    BindName(put_, record.kind, profile.GetServiceName(), profile.GetCharacteristicKey());
    put_.bind(4, profile.GetUserId());
    const std::string& value = profile.GetCharacteristicValue();
    put_.bindNoCopy(5, value.data(), static_cast<int>(value.size()));
    RunOnce(put_);
}

void ProfileStore::Delete(const ProfileName& name) {
    BindName(delete_, name.kind, name.service, name.key);
    RunOnce(delete_);
}

}  // namespace ZYNE::Linux
