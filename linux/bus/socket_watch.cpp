#include "linux/bus/socket_watch.h"

#include <sys/stat.h>

#include <optional>
#include <utility>

namespace ZYNE::Linux {
namespace {

std::optional<std::pair<dev_t, ino_t>> IdentityOf(const std::filesystem::path& file) {
    struct stat status {};
    return stat(file.c_str(), &status) == 0 ? std::optional(std::pair(status.st_dev, status.st_ino)) : std::nullopt;
}

}  // namespace

SocketWatch::SocketWatch(std::filesystem::path socket, std::function<void()> lost, std::chrono::milliseconds step)
    : thread_([this, socket = std::move(socket), lost = std::move(lost), step] { Run(socket, lost, step); }) {}

SocketWatch::~SocketWatch() {
    {
        const std::scoped_lock lock(mutex_);
        isStopping_ = true;
    }
    wake_.notify_all();
    thread_.join();
}

void SocketWatch::Run(
    const std::filesystem::path& socket, const std::function<void()>& lost, std::chrono::milliseconds step) {
    const auto identity = IdentityOf(socket);
    std::unique_lock lock(mutex_);
    while (!wake_.wait_for(lock, step, [this] { return isStopping_; })) {
        if (!identity || IdentityOf(socket) != identity) {
            lock.unlock();
            lost();
            return;
        }
    }
}

}  // namespace ZYNE::Linux
