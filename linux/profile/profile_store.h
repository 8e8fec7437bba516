// Keeps what this device publishes, over restarts.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "linux/base/database.h"
#include "linux/profile/profile_record.h"

namespace ZYNE::Linux {

// One thread at a time. What an operation has written when it returns outlasts the process, however that ends.
//
// A file that is found damaged is put aside, and one that was deleted or replaced is given up: a new one is made with
// what is known, before the operation goes on; the log says so.
//
// Every operation throws std::exception, with a line that names the file, when that cannot be read or written; nothing
// has changed then.
class ProfileStore {
public:
    // The file has the profiles of one device, and is this process's alone while it is open. It is made when it is not
    // there. `known` gives all that is to be in it.
    ProfileStore(const std::filesystem::path& file, DeviceNotes& notes, std::function<std::vector<RecordPtr>()> known);

    // Everything kept, as profiles of the device `udid`.
    std::vector<RecordPtr> Load(const std::string& udid);
    // Replaces the earlier one of the same name.
    void Put(const ProfileRecord& record);
    // Works on a full disk too.
    void Delete(const ProfileName& name);
    // To be called after Put and Delete, when those who are to hear of them have been told: sees to the file's size and
    // to the room on the disk.
    void Settle();

private:
    struct Opened {
        Opened(const std::filesystem::path& file, DeviceNotes& notes);

        Database database;
        SQLite::Statement put;
        SQLite::Statement remove;
    };

    void Change(const std::function<void(Opened& opened)>& change, bool mayUseReserve);
    void TryChange(const std::function<void(Opened& opened)>& change);
    void MakeAnew(bool isDamaged);
    static void PutRecord(Opened& opened, const ProfileRecord& record);

    const std::filesystem::path file_;
    DeviceNotes& notes_;
    const std::function<std::vector<RecordPtr>()> known_;
    std::unique_ptr<Opened> opened_;  // null after a failure to make it anew
};

}  // namespace ZYNE::Linux
