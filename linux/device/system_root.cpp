#include "linux/device/system_root.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "linux/base/log_domains.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {

void SystemRoot::Set(std::string directory) {
    const MutexLock lock(mutex_);
    directory_ = std::move(directory);
}

std::string SystemRoot::Locate(const std::string& path) const {
    std::string located;
    {
        const MutexLock lock(mutex_);
        located = directory_ + path;
    }
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(located, error);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        LogPrint(LogType::CORE, LogLevel::ERROR, LogDomains::RUNTIME, "%{public}s is no regular file and is left out",
            located);
        return {};
    }
    return located;
}

}  // namespace ZYNE::Linux
