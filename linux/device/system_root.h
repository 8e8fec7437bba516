// The directory that stands for the read-only system partition on this machine.
#pragma once

#include <string>

#include "linux/base/mutex.h"

namespace ZYNE::Linux {

// Any thread.
class SystemRoot {
public:
    // System files lie under `directory` from now on. Until then, and when it is empty, they lie where their own paths
    // say.
    void Set(std::string directory);

    // As SystemPartition::Locate says. Empty, with a line in the log, for what is no regular file.
    std::string Locate(const std::string& path) const;

private:
    mutable Mutex mutex_;
    std::string directory_ GUARDED_BY(mutex_);
};

}  // namespace ZYNE::Linux
