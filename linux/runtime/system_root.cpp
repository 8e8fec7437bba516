#include "linux/runtime/system_root.h"

#include <mutex>
#include <utility>

#include "platform/host/system_partition.h"

namespace ZYNE::Linux {
namespace {

struct Root {
    std::mutex mutex;
    std::string directory;  // guarded by mutex
};

Root& TheRoot() {
    static auto& root = *new Root();
    return root;
}

}  // namespace

void SystemRoot::Set(std::string directory) {
    Root& root = TheRoot();
    const std::scoped_lock lock(root.mutex);
    root.directory = std::move(directory);
}

}  // namespace ZYNE::Linux

namespace ZYNE::CollaborationFwk {

std::string SystemPartition::Locate(const std::string& path) {
    Linux::Root& root = Linux::TheRoot();
    const std::scoped_lock lock(root.mutex);
    return root.directory + path;
}

}  // namespace ZYNE::CollaborationFwk
