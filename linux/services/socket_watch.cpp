#include "linux/services/socket_watch.h"

#include <array>

#include <poll.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ZYNE::Linux {

SocketWatch::Identity SocketWatch::IdentityOf(const std::filesystem::path& file) {
    struct stat status {};
    return stat(file.c_str(), &status) == 0 ? Identity(std::pair(status.st_dev, status.st_ino)) : std::nullopt;
}

SocketWatch::SocketWatch(
    EventLoop& loop, std::filesystem::path socket, std::function<void()> lost, std::chrono::milliseconds step)
    : loop_(loop), socket_(std::move(socket)), lost_(std::move(lost)), identity_(IdentityOf(socket_)) {
    loop_.Run([&] { Begin(step); });
}

SocketWatch::~SocketWatch() {
    loop_.Run([this] {
        change_ = {};
        timer_ = {};
    });
}

// If nothing can be watched, the check at each step must do.
void SocketWatch::Begin(std::chrono::milliseconds step) {
    constexpr uint32_t CHANGES = IN_CREATE | IN_DELETE | IN_MOVE | IN_DELETE_SELF | IN_MOVE_SELF;
    timer_ = loop_.Every(step, [this] { Look(); });
    changes_ = UniqueFd(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (changes_ && inotify_add_watch(changes_.Get(), socket_.parent_path().c_str(), CHANGES) >= 0) {
        change_ = loop_.Watch(changes_.Get(), POLLIN, [this](uint32_t) {
            std::array<char, 4096> ignored{};
            while (read(changes_.Get(), ignored.data(), ignored.size()) > 0) {
            }
            Look();
        });
    }
}

void SocketWatch::Look() {
    if (!identity_ || IdentityOf(socket_) != identity_) {
        change_ = {};
        timer_ = {};
        lost_();
    }
}

}  // namespace ZYNE::Linux
