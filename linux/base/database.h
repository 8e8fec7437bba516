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
#include "linux/base/mutex.h"

namespace ZYNE::Linux {

enum class Durability {
    PROCESS,  // a commit outlasts the process, however it ends; if the machine crashes, the last ones may be lost
    MACHINE,  // a commit outlasts a crash of the machine as well, and waits for the disk
};

struct DatabaseOptions {
    std::filesystem::path file;
    Durability durability;
    const char* schema;        // SQL that may be run again and again; it is run once on the connection
    DeviceNotes& notes;        // told of a file that is damaged and of a disk that is full
    bool isExclusive = false;  // no other process may open it meanwhile, which saves locking at each commit
    bool isChecked = false;    // checked for damage when it is opened
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

// A connection. It and its statements are for one thread at a time. Several processes may have the file open; a writer
// waits up to two seconds for the others.
//
// `file.reserve`, beside the file, keeps some room for when the disk is full.
class Database {
public:
    // The most that the write-ahead file has after Settle, unless a reader in another process holds more of it.
    static constexpr size_t MAX_AHEAD_BYTES = size_t{4} << 20U;

    // Opens the file, or makes it, readable by its owner alone. A damaged file is moved to `file.damaged-DATE` and a
    // new one is started. Throws DatabaseError.
    explicit Database(DatabaseOptions options);
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    SQLite::Database& Get() { return connection_; }

    // Runs an operation on the connection. What SQLite throws becomes a DatabaseError; other exceptions pass. The caller
    // holds what `operation` requires: that lock is the caller's own and has no name here.
    template <typename Operation>
    auto Run(const Operation& operation) NO_THREAD_SAFETY_ANALYSIS {
        try {
            return operation();
        } catch (const SQLite::Exception& error) {
            Fail(error);
        }
    }

    // Whether the path still leads to the file that is open; with isExclusive, that of the write-ahead file too. If
    // not, what is written is lost.
    bool IsInPlace();

    // To be called after each write that succeeded: bounds the write-ahead file and looks at the disk.
    void Settle();

    // Frees the reserve, so that the operation can be tried again. False when there is no reserve.
    bool GiveUpReserve() { return reserve_.GiveUp(); }

    // Removes what a closed connection left beside a file that has been deleted or replaced: the next connection must
    // not take it for its own.
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

    // Moves the file away, which no connection of this process has open, and notes that. Throws std::exception.
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
