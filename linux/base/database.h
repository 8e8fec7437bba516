// The SQLite files in which a device keeps what must outlast its process.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include <SQLiteCpp/SQLiteCpp.h>

#include "linux/base/device_notes.h"
#include "linux/base/disk_reserve.h"

namespace ZYNE::Linux {

enum class Durability {
    PROCESS,  // what is committed outlasts the process, however it ends; a machine that crashes may lose the last of it
    MACHINE,  // and a crash of the machine; a commit waits for the disk
};

struct DatabaseOptions {
    std::filesystem::path file;
    Durability durability;
    const char* schema;        // SQL that may be run again and again; it is run once on the connection
    DeviceNotes& notes;        // told of a file that is damaged and of a disk that is full
    bool isExclusive = false;  // this connection's alone while it is open, which spares each commit the locks
    bool isChecked = false;    // looked through for damage when it is opened
};

// One line that names the file.
class DatabaseError : public std::runtime_error {
public:
    enum class Kind { DAMAGED, DISK_FULL, OTHER };

    DatabaseError(Kind kind, const std::string& line) : std::runtime_error(line), kind_(kind) {}
    Kind GetKind() const { return kind_; }

private:
    Kind kind_;
};

// A connection. It and its statements are for one thread at a time. Several processes may have the file open; whoever
// writes waits up to two seconds for the others.
//
// Beside the file, `file.reserve` keeps room for the day when the disk is full.
class Database {
public:
    // No larger is the write-ahead file after Settle, but for what a reader in another process holds.
    static constexpr size_t MOST_AHEAD_BYTES = size_t{4} << 20U;

    // Opens the file, which is made when it is not there, readable by its owner alone. A file that is damaged is put
    // aside as `file.damaged-DATE` and a new one is begun. Throws DatabaseError.
    explicit Database(DatabaseOptions options);
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    SQLite::Database& Get() { return connection_; }

    // Runs an operation on the connection. What SQLite throws becomes a DatabaseError; other exceptions pass.
    template <typename Operation>
    auto Run(const Operation& operation) {
        try {
            return operation();
        } catch (const SQLite::Exception& error) {
            Fail(error);
        }
    }

    // Whether the path still leads to the file that is open, and with a file that is this connection's alone also to its
    // write-ahead file. What is written when it does not is lost.
    bool IsInPlace();

    // To be called after each write that succeeded: bounds the write-ahead file and looks at the disk.
    void Settle();

    // Has the room of the reserve used by the operation that is tried next. False when there is none.
    bool GiveUpReserve() { return reserve_.GiveUp(); }

    // Names the files of a closed connection that the next one must not take for its own, and removes them: those
    // beside a file that has been deleted or replaced.
    class Remains {
    public:
        explicit Remains(const std::filesystem::path& file);
        void Remove() const;
        bool IsAheadInPlace() const;

    private:
        struct File {
            std::filesystem::path path;
            std::optional<std::pair<dev_t, ino_t>> identity;
        };
        File ahead_;
        File index_;
    };
    const Remains& GetRemains() const { return remains_; }

    // Puts the file aside, which no connection of this process has open, and notes it. Throws std::exception.
    static void PutAside(const std::filesystem::path& file, DeviceNotes& notes);

private:
    SQLite::Database Open();
    [[noreturn]] void Fail(const SQLite::Exception& error);
    void LookAtDisk();

    const DatabaseOptions options_;
    DiskReserve reserve_;
    bool isFull_ = false;
    SQLite::Database connection_;
    Remains remains_;
};

}  // namespace ZYNE::Linux
