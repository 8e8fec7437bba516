// Opens the SQLite files in which a device keeps what must outlast its process.
#pragma once

#include <filesystem>

#include <SQLiteCpp/SQLiteCpp.h>

namespace ZYNE::Linux {

enum class Durability {
    PROCESS,  // what is committed outlasts the process, however it ends; a machine that crashes may lose the last of it
    MACHINE,  // and a crash of the machine; a commit waits for the disk
};

// Opens `file`, which is made when it is not there, readable by its owner alone. Several processes may have it open;
// whoever writes waits up to two seconds for the others. `schema`, SQL that may be run again and again, is run once
// on the connection. Throws std::runtime_error with one line that names the file.
//
// A connection and its statements are for one thread at a time.
SQLite::Database OpenDatabase(const std::filesystem::path& file, Durability durability, const char* schema);

}  // namespace ZYNE::Linux
