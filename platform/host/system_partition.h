// Where the read-only files of the system lie.
#pragma once

#include <string>

#include "platform/export.h"

namespace ZYNE::CollaborationFwk {

// Any thread. Defined by the port.
class PLATFORM_API SystemPartition {
public:
    SystemPartition() = delete;

    // The path under which this machine has the system file `path`, such as "/system/etc/CollaborationFwk/file.json".
    // An operating system with such a partition answers `path`; a port that has none answers a path in a directory of
    // its own. The file need not exist.
    static std::string Locate(const std::string& path);
};

}  // namespace ZYNE::CollaborationFwk
