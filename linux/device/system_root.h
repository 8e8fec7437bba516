// The directory that stands for the read-only system partition on this machine.
#pragma once

#include <string>

namespace ZYNE::Linux {

// Any thread.
class SystemRoot {
public:
    SystemRoot() = delete;

    // System files lie under `directory` from now on. Until then, and when it is empty, they lie where their own paths
    // say.
    static void Set(std::string directory);
};

}  // namespace ZYNE::Linux
