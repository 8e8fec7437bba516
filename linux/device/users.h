// The users of a device, one of whom is in the foreground.
//
//     Users::Options options;
//     options.users = {{100, "Anna", OsAccountType::NORMAL}, {101, "Guest", OsAccountType::PRIVATE}};
//     options.file = stateDirectory / "foreground_user";
//     options.switched = [](int32_t before, int32_t now) { ... };
//     Users users(pool);
//     users.Start(std::move(options));
//     users.Switch(101);
//
// They are the device's own, not those of the machine: all of them belong to the one person who runs the device.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "linux/base/mutex.h"
#include "linux/base/thread_pool.h"
#include "platform/account/os_account_manager.h"

namespace ZYNE::Linux {

// What OsAccountManager answers.
enum UserCode : int32_t {
    USER_OK = 0,
    USERS_NOT_UP = 1,
    USER_UNKNOWN = 2,
};

struct User {
    int32_t id = 0;
    std::string name;
    OsAccountType type = OsAccountType::NORMAL;
};

// Any thread.
class Users {
public:
    struct Options {
        std::vector<User> users;     // at least one; the first is in the foreground until somebody switches
        std::filesystem::path file;  // keeps the foreground user over restarts

        // Told of each switch after it is true, in order, one at a time, on threads of the pool and without a lock.
        // When it is called, a later switch may have been made.
        std::function<void(int32_t before, int32_t now)> switched;
    };

    explicit Users(ThreadPool& pool);
    Users(const Users&) = delete;
    Users& operator=(const Users&) = delete;
    ~Users();

    // The user who was in the foreground when the device stopped is so again, if there still is such a user.
    void Start(Options options);

    // From now on nobody is told of a switch anew; a call that runs is not waited for. Before the thread pool is
    // stopped. Does nothing when it is not up.
    void Stop();

    // Puts the user into the foreground and returns before anybody is told. Nothing happens when the user is there
    // already. Throws std::runtime_error with one line, and has then changed nothing, when there is no such user, the
    // switch cannot be kept, or it is not up.
    void Switch(int32_t id);

    // In the order of their configuration; empty while it is not up.
    std::vector<User> List() const;

    // Each a UserCode.
    int32_t GetForeground(int32_t& id) const;
    int32_t GetType(int32_t id, OsAccountType& type) const;

private:
    struct Running;

    ThreadPool& pool_;
    mutable Mutex mutex_;                                  // held while a switch is kept, which keeps the order
    std::shared_ptr<Running> running_ GUARDED_BY(mutex_);  // null while it is not up
    int32_t foreground_ GUARDED_BY(mutex_) = 0;            // while it is up
};

}  // namespace ZYNE::Linux
