#include "linux/profile/profile_store.h"

#include <utility>

#include <SQLiteCpp/Transaction.h>

#include "linux/profile/profile_log.h"

namespace ZYNE::Linux {
namespace {

constexpr char SCHEMA[] = "CREATE TABLE IF NOT EXISTS profiles (kind INTEGER NOT NULL, service TEXT NOT NULL, "
                          "key TEXT NOT NULL, user INTEGER NOT NULL, value BLOB NOT NULL, "
                          "PRIMARY KEY (kind, service, key))";

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

ProfileStore::Opened::Opened(const std::filesystem::path& file, DeviceNotes& notes)
    : database({file, Durability::PROCESS, SCHEMA, notes, true, true}),
      put(database.Get(),
          "INSERT INTO profiles (kind, service, key, user, value) VALUES (?, ?, ?, ?, ?) "
          "ON CONFLICT DO UPDATE SET user = excluded.user, value = excluded.value"),
      remove(database.Get(), "DELETE FROM profiles WHERE kind = ? AND service = ? AND key = ?") {}

ProfileStore::ProfileStore(
    const std::filesystem::path& file, DeviceNotes& notes, std::function<std::vector<RecordPtr>()> known)
    : file_(file), notes_(notes), known_(std::move(known)), opened_(std::make_unique<Opened>(file, notes)) {}

std::vector<RecordPtr> ProfileStore::Load(const std::string& udid) {
    std::vector<RecordPtr> records;
    SQLite::Statement all(opened_->database.Get(), "SELECT kind, service, key, user, value FROM profiles");
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

void ProfileStore::PutRecord(Opened& opened, const ProfileRecord& record) {
    const CharacteristicProfile& profile = record.profile;
    BindName(opened.put, record.kind, profile.GetServiceName(), profile.GetCharacteristicKey());
    opened.put.bind(4, profile.GetUserId());
    const std::string& value = profile.GetCharacteristicValue();
    opened.put.bindNoCopy(5, value.data(), static_cast<int>(value.size()));
    RunOnce(opened.put);
}

void ProfileStore::Put(const ProfileRecord& record) {
    Change([&](Opened& opened) { PutRecord(opened, record); }, false);
}

void ProfileStore::Delete(const ProfileName& name) {
    const auto remove = [&](Opened& opened) {
        BindName(opened.remove, name.kind, name.service, name.key);
        RunOnce(opened.remove);
    };
    Change(remove, true);
}

void ProfileStore::Change(const std::function<void(Opened& opened)>& change, bool mayUseReserve) {
    if (!opened_ || !opened_->database.IsInPlace()) {
        MakeAnew(false);
    }
    try {
        TryChange(change);
    } catch (const DatabaseError& error) {
        if (error.GetKind() == DatabaseError::Kind::DAMAGED) {
            MakeAnew(true);
        } else if (error.GetKind() != DatabaseError::Kind::DISK_FULL || !mayUseReserve ||
            !opened_->database.GiveUpReserve()) {
            throw;
        }
        TryChange(change);
    }
}

void ProfileStore::Settle() {
    if (opened_) {
        opened_->database.Settle();
    }
}

void ProfileStore::TryChange(const std::function<void(Opened& opened)>& change) {
    opened_->database.Run([&] { change(*opened_); });
}

// A file that took the place of ours is no less a stranger's than none.
void ProfileStore::MakeAnew(bool isDamaged) {
    const bool wasOpen = opened_ != nullptr;
    if (wasOpen) {
        const Database::Remains remains = opened_->database.GetRemains();
        const bool isMoved = !opened_->database.IsInPlace();
        opened_.reset();
        if (isMoved) {
            remains.Remove();
        }
    }
    if (isDamaged) {
        Database::PutAside(file_, notes_);
    }
    auto opened = std::make_unique<Opened>(file_, notes_);
    opened->database.Run([&] {
        SQLite::Transaction transaction(opened->database.Get());
        opened->database.Get().exec("DELETE FROM profiles");
        for (const RecordPtr& record : known_()) {
            PutRecord(*opened, *record);
        }
        transaction.commit();
    });
    opened_ = std::move(opened);
    if (wasOpen && !isDamaged) {
        ProfilePrint(LogLevel::WARN,
            "%{public}s was deleted or replaced, and is made anew with what this device publishes", file_.string());
    }
}

}  // namespace ZYNE::Linux
