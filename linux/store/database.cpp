#include "linux/store/database.h"

#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ZYNE::Linux {
namespace {

constexpr int BUSY_TIME_MS = 2000;

// SQLite would make the file with the process's default rights. A file that is there is not opened: closing it again
// would end the locks of the process's other connections to it.
void MakePrivately(const std::filesystem::path& file) {
    const int fd = open(file.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (fd >= 0) {
        close(fd);
    }
}

}  // namespace

SQLite::Database OpenDatabase(const std::filesystem::path& file, Durability durability, const char* schema) {
    try {
        MakePrivately(file);
        SQLite::Database database(file.string(), SQLite::OPEN_READWRITE, BUSY_TIME_MS);
        database.exec("PRAGMA journal_mode = WAL");
        database.exec(durability == Durability::MACHINE ? "PRAGMA synchronous = FULL" : "PRAGMA synchronous = NORMAL");
        database.exec(schema);
        return database;
    } catch (const SQLite::Exception& error) {
        throw std::runtime_error(file.string() + ": " + error.what());
    }
}

}  // namespace ZYNE::Linux
