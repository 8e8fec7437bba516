#include "linux/services/socket_watch.h"

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

SocketWatch::SocketWatch(std::filesystem::path socket, std::function<void()> lost, std::chrono::milliseconds step) {
    // Before this returns: whoever replaces the socket right after is noticed too.
    const auto identity = IdentityOf(socket);
    thread_ = std::thread([this, socket = std::move(socket), lost = std::move(lost), step, identity] {
        if (WaitUntil([&] { return !identity || IdentityOf(socket) != identity; }, step)) {
            lost();
        }
    });
}

SocketWatch::~SocketWatch() {
    {
        const std::scoped_lock lock(mutex_);
        isStopping_ = true;
    }
    wake_.notify_all();
    thread_.join();
}

// False when it is to stop before.
bool SocketWatch::WaitUntil(const std::function<bool()>& hasVanished, std::chrono::milliseconds step) {
    std::unique_lock lock(mutex_);
    while (!wake_.wait_for(lock, step, [this] { return isStopping_; })) {
        if (hasVanished()) {
            return true;
        }
    }
    return false;
}

}  // namespace ZYNE::Linux
