#include "linux/device/system_root.h"

#include <filesystem>
#include <mutex>
#include <string>
#include <system_error>
#include <utility>

#include "linux/base/log_domains.h"
#include "platform/host/system_partition.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

constexpr LogDomain LOG = LogDomains::RUNTIME;

class Root {
public:
    void Set(std::string directory) {
        const std::scoped_lock lock(mutex_);
        directory_ = std::move(directory);
    }
    std::string Get() {
        const std::scoped_lock lock(mutex_);
        return directory_;
    }

private:
    std::mutex mutex_;
    std::string directory_;  // guarded by mutex_
};

Root& TheRoot() {
    static auto& root = *new Root();
    return root;
}

}  // namespace

void SystemRoot::Set(std::string directory) {
    TheRoot().Set(std::move(directory));
}

}  // namespace ZYNE::Linux

namespace ZYNE::CollaborationFwk {

// The library opens what it is given and waits for it: nobody may ever write to a FIFO.
std::string SystemPartition::Locate(const std::string& path) {
    const std::string located = Linux::TheRoot().Get() + path;
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(located, error);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        LogPrint(LogType::CORE, LogLevel::ERROR, Linux::LOG, "%{public}s is no regular file and is left out", located);
        return {};
    }
    return located;
}

}  // namespace ZYNE::CollaborationFwk
