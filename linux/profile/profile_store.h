// Keeps what this device publishes, over restarts.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "linux/profile/profile_record.h"
#include "linux/store/database.h"

namespace ZYNE::Linux {

// One thread at a time. What an operation has written when it returns outlasts the process, however that ends.
//
// Every operation throws std::exception when the file cannot be read or written; nothing has changed then.
class ProfileStore {
public:
    // The file has the profiles of one device, and is this process's alone while it is open. It is made when it is not
    // there.
    explicit ProfileStore(const std::filesystem::path& file);

    // Everything kept, as profiles of the device `udid`.
    std::vector<RecordPtr> Load(const std::string& udid);
    // Replaces the earlier one of the same name.
    void Put(const ProfileRecord& record);
    void Delete(const ProfileName& name);

private:
    SQLite::Database database_;
    SQLite::Statement put_;
    SQLite::Statement delete_;
};

}  // namespace ZYNE::Linux
