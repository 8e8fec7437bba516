#include "linux/base/database.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>
#include <system_error>

#include "linux/base/log_domains.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

namespace fs = std::filesystem;
using Kind = DatabaseError::Kind;

constexpr LogDomain LOG = LogDomains::STORE;

constexpr int BUSY_TIME_MS = 2000;
constexpr uint64_t ALMOST_NOTHING = uint64_t{64} << 10U;  // of room on the disk, bytes
constexpr int PRIMARY_CODE = 0xff;                        // SQLite's codes have details above it

// The second is a number of pages of 4 KiB. Pages that become free are not overwritten: deleting a large value would
// need as much room as it makes.
constexpr char BOUNDS[] =
    "PRAGMA journal_size_limit = 4194304; PRAGMA wal_autocheckpoint = 1024; PRAGMA secure_delete = FAST";

fs::path Beside(const fs::path& file, const std::string& suffix) {
    return file.native() + suffix;
}

// SQLite would make the file with the process's default rights. A file that is there is not opened: closing it again
// would end the locks of the process's other connections to it.
void MakePrivately(const fs::path& file) {
    const int fd = open(file.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (fd >= 0) {
        close(fd);
    }
}

void Check(SQLite::Database& database) {
    SQLite::Statement check(database, "PRAGMA quick_check(1)");
    if (check.executeStep() && check.getColumn(0).getString() != "ok") {
        throw SQLite::Exception(check.getColumn(0).getString(), SQLITE_CORRUPT);
    }
}

SQLite::Database Connect(const DatabaseOptions& options) {
    MakePrivately(options.file);
    SQLite::Database database(options.file.string(), SQLite::OPEN_READWRITE, BUSY_TIME_MS);
    if (options.isExclusive) {
        database.exec("PRAGMA locking_mode = EXCLUSIVE");
    }
    database.exec("PRAGMA journal_mode = WAL");
    database.exec(
        options.durability == Durability::MACHINE ? "PRAGMA synchronous = FULL" : "PRAGMA synchronous = NORMAL");
    database.exec(BOUNDS);
    database.exec(options.schema);
    if (options.isChecked) {
        Check(database);
    }
    return database;
}

// On a full disk SQLite cannot make some of its files, and reports only that.
Kind KindOf(const SQLite::Exception& error, const fs::path& file) {
    switch (error.getErrorCode() & PRIMARY_CODE) {
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
        return Kind::DAMAGED;
    case SQLITE_FULL:
        return Kind::DISK_FULL;
    case SQLITE_IOERR:
    case SQLITE_CANTOPEN:
        return FreeBytes(file.parent_path()) < ALMOST_NOTHING ? Kind::DISK_FULL : Kind::OTHER;
    default:
        return Kind::OTHER;
    }
}

// The time for file names, so without ':'.
std::string Now() {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    gmtime_r(&now, &parts);
    char text[sizeof "2000-01-01T00-00-00Z"] = "";
    std::strftime(text, sizeof text, "%Y-%m-%dT%H-%M-%SZ", &parts);
    return text;
}

std::optional<std::pair<dev_t, ino_t>> IdentityOf(const fs::path& file) {
    struct stat status {};
    return stat(file.c_str(), &status) == 0 ? std::optional(std::pair(status.st_dev, status.st_ino)) : std::nullopt;
}

}  // namespace

Database::Remains::Remains(const fs::path& file)
    : ahead_{Beside(file, "-wal"), IdentityOf(Beside(file, "-wal"))}, index_{Beside(file, "-shm"),
                                                                          IdentityOf(Beside(file, "-shm"))} {}

// Another process may have made new ones by now: those stay.
void Database::Remains::Remove() const {
    for (const File& file : {ahead_, index_}) {
        if (file.identity && IdentityOf(file.path) == file.identity) {
            std::error_code ignored;
            fs::remove(file.path, ignored);
        }
    }
}

bool Database::Remains::IsAheadInPlace() const {
    return !ahead_.identity || IdentityOf(ahead_.path) == ahead_.identity;
}

Database::Database(DatabaseOptions options)
    : options_(std::move(options)), reserve_(Beside(options_.file, ".reserve")), connection_(Open()),
      remains_(options_.file) {
    Settle();
}

SQLite::Database Database::Open() {
    bool isAside = false;
    while (true) {
        try {
            return Connect(options_);
        } catch (const SQLite::Exception& error) {
            const Kind kind = KindOf(error, options_.file);
            const bool goesOn = kind == Kind::DAMAGED ? !isAside : kind == Kind::DISK_FULL && reserve_.GiveUp();
            if (!goesOn) {
                Fail(error);
            }
            isAside = kind == Kind::DAMAGED;
        }
        if (isAside) {
            PutAside(options_.file, options_.notes);
        }
    }
}

void Database::PutAside(const fs::path& file, DeviceNotes& notes) {
    const std::string suffix = ".damaged-" + Now();
    fs::path aside = Beside(file, suffix);
    for (int i = 2; fs::exists(aside); ++i) {
        aside = Beside(file, suffix + '-' + std::to_string(i));
    }
    fs::rename(file, aside);
    std::error_code ignored;  // they may be missing
    fs::rename(Beside(file, "-wal"), Beside(aside, "-wal"), ignored);
    fs::remove(Beside(file, "-shm"), ignored);
    const std::string line =
        file.string() + " is damaged, is put aside as " + aside.filename().string() + " and begun anew";
    LogPrint(LogType::CORE, LogLevel::ERROR, LOG, "%{public}s", line);
    notes.Set("damaged", file.string(), line);
}

void Database::Fail(const SQLite::Exception& error) {
    const Kind kind = KindOf(error, options_.file);
    const std::string what = kind == Kind::DISK_FULL ? "disk full" : error.what();
    if (kind != Kind::OTHER) {
        options_.notes.Set(
            kind == Kind::DAMAGED ? "damaged" : "disk", options_.file.string(), what + ": " + options_.file.string());
    }
    throw DatabaseError(kind, options_.file.string() + ": " + what);
}

bool Database::IsInPlace() {
    int hasMoved = 0;
    const bool isKnown =
        sqlite3_file_control(connection_.getHandle(), "main", SQLITE_FCNTL_HAS_MOVED, &hasMoved) == SQLITE_OK;
    return (!isKnown || hasMoved == 0) && (!options_.isExclusive || remains_.IsAheadInPlace());
}

void Database::Settle() {
    std::error_code error;
    const uintmax_t ahead = fs::file_size(Beside(options_.file, "-wal"), error);
    const auto isTight = [this] {
        return !reserve_.Fill() || FreeBytes(options_.file.parent_path()) < ALMOST_NOTHING;
    };
    if (!error && ahead > 0 && (ahead > MAX_AHEAD_BYTES || isTight())) {
        // While somebody reads it is left for the next time: nobody is waited for.
        connection_.setBusyTimeout(0);
        connection_.tryExec("PRAGMA wal_checkpoint(TRUNCATE)");
        connection_.setBusyTimeout(BUSY_TIME_MS);
    }
    LookAtDisk();
}

void Database::LookAtDisk() {
    const bool isFull = !reserve_.Fill() || FreeBytes(options_.file.parent_path()) < ALMOST_NOTHING;
    if (isFull) {
        options_.notes.Set("disk", options_.file.string(), "disk full: " + options_.file.string());
    } else {
        options_.notes.Clear("disk", options_.file.string());
    }
    if (isFull != isFull_) {
        LogPrint(LogType::CORE, isFull ? LogLevel::ERROR : LogLevel::INFO, LOG, "%{public}s: %{public}s",
            options_.file.string(), isFull ? "disk full" : "there is room on the disk again");
        isFull_ = isFull;
    }
}

}  // namespace ZYNE::Linux
