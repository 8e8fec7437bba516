#include "linux/device/users.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "linux/base/kept_file.h"
#include "linux/base/log_domains.h"
#include "linux/base/mailbox.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

constexpr LogDomain LOG = LogDomains::USERS;

const User* Find(const std::vector<User>& users, int32_t id) {
    const auto found = std::find_if(users.begin(), users.end(), [id](const User& user) { return user.id == id; });
    return found != users.end() ? &*found : nullptr;
}

// Whoever was in the foreground last; else the first.
int32_t ReadForeground(const Users::Options& options) {
    const int32_t first = options.users.front().id;
    if (!std::filesystem::exists(options.file)) {
        return first;
    }
    int32_t id = 0;
    if (std::ifstream(options.file) >> id && Find(options.users, id) != nullptr) {
        return id;
    }
    LogPrint(
        LogType::CORE, LogLevel::WARN, LOG, "the last user is not a user any more: user %{public}d comes up", first);
    return first;
}

std::string NameUsers(const std::vector<User>& users) {
    std::string names;
    for (const User& user : users) {
        names += (names.empty() ? "" : ", ") + std::to_string(user.id) + " (" + user.name + ")";
    }
    return names;
}

}  // namespace

// What is there from Start to Stop.
struct Users::Running {
    struct Switched {
        int32_t before;
        int32_t now;
    };

    ThreadPool& pool;
    const Options options;
    const std::shared_ptr<Mailbox<Switched>> mailbox =
        Mailbox<Switched>::Make(pool, [told = options.switched](const Switched& users) {
            if (told) {
                told(users.before, users.now);
            }
        });
};

Users::Users(ThreadPool& pool) : pool_(pool) {}

Users::~Users() {
    Stop();
}

void Users::Start(Options options) {
    const int32_t foreground = ReadForeground(options);
    LogPrint(LogType::CORE, LogLevel::INFO, LOG, "%{public}zu users, user %{public}d is in the foreground",
        options.users.size(), foreground);
    std::shared_ptr<Running> running(new Running{pool_, std::move(options)});
    const MutexLock lock(mutex_);
    running_ = std::move(running);
    foreground_ = foreground;
}

void Users::Stop() {
    std::shared_ptr<Running> running;  // destroyed without the lock
    const MutexLock lock(mutex_);
    running.swap(running_);
    if (running) {
        running->mailbox->Close();
    }
}

void Users::Switch(int32_t id) {
    const MutexLock lock(mutex_);
    if (!running_) {
        throw std::runtime_error("no user can be switched to: the device is starting or ending");
    }
    if (Find(running_->options.users, id) == nullptr) {
        throw std::runtime_error(
            "there is no user " + std::to_string(id) + "; the users are: " + NameUsers(running_->options.users));
    }
    const int32_t before = foreground_;
    if (id == before) {
        return;
    }
    WriteKeptFile(running_->options.file, std::to_string(id) + '\n');
    foreground_ = id;
    if (!running_->mailbox->Post({before, id})) {
        foreground_ = before;
        WriteKeptFile(running_->options.file, std::to_string(before) + '\n');
        throw std::runtime_error("no user can be switched to: the device is ending");
    }
    LogPrint(LogType::CORE, LogLevel::INFO, LOG, "user %{public}d takes over from user %{public}d", id, before);
}

std::vector<User> Users::List() const {
    const MutexLock lock(mutex_);
    return running_ ? running_->options.users : std::vector<User>();
}

int32_t Users::GetForeground(int32_t& id) const {
    const MutexLock lock(mutex_);
    if (!running_) {
        return USERS_NOT_UP;
    }
    id = foreground_;
    return USER_OK;
}

int32_t Users::GetType(int32_t id, OsAccountType& type) const {
    const MutexLock lock(mutex_);
    if (!running_) {
        return USERS_NOT_UP;
    }
    const User* user = Find(running_->options.users, id);
    if (user == nullptr) {
        return USER_UNKNOWN;
    }
    type = user->type;
    return USER_OK;
}

}  // namespace ZYNE::Linux
