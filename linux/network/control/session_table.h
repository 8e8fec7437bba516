// The sessions of the control channel: what was asked of other devices, and what they ask of this one.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "linux/base/mutex.h"
#include "platform/host/command.h"

namespace ZYNE::Linux {

// Any thread. A session carries one request and its answer. It ends with the answer, with the device at the other end,
// when it has become too old, or, of those opened, when too many newer ones have begun.
class SessionTable {
public:
    using Clock = std::chrono::steady_clock;
    using Commands = std::vector<std::shared_ptr<CollaborationFwk::Command>>;

    static constexpr std::chrono::seconds MAX_AGE{60};
    static constexpr size_t MAX_OPENED = 4096;

    struct Opened {
        std::string networkId;  // of the device that was asked
        std::string collaborationId;
        Clock::time_point since;
    };

    struct Served {
        std::string networkId;  // of the device that asks
        int32_t openersNumber;  // the session as that device numbers it
        Commands commands;      // kept alive until they have answered: what they post does not do that
        Clock::time_point since;
    };

    // Ages are taken by the clock `now`.
    explicit SessionTable(std::function<Clock::time_point()> now = Clock::now);

    // The numbers of new sessions. They are positive, and no session of either kind has the same.
    int32_t Open(const std::string& networkId, const std::string& collaborationId);
    int32_t Serve(const std::string& networkId, int32_t openersNumber, Commands commands);

    // Ends the session that this device opened as `number` with the device `networkId`. Nothing when there is none: an
    // answer counts from the device that was asked, and once.
    std::optional<Opened> TakeOpened(int32_t number, const std::string& networkId);

    // The device and its number of the session that is served as `number`.
    std::optional<std::pair<std::string, int32_t>> FindServed(int32_t number) const;

    // Whether it was one that is served.
    bool End(int32_t number);
    // Ends all sessions with a device. The collaboration ids of those that this device opened.
    std::vector<std::string> EndAllWith(const std::string& networkId);
    // The devices of those that are served, each as often as one ended.
    std::vector<std::string> EndOld();

private:
    int32_t NewNumber() REQUIRES(mutex_);

    const std::function<Clock::time_point()> now_;
    mutable Mutex mutex_;
    uint32_t lastNumber_ GUARDED_BY(mutex_);
    std::map<int32_t, Opened> opened_ GUARDED_BY(mutex_);  // by number
    std::map<int32_t, Served> served_ GUARDED_BY(mutex_);  // by number. A command is not destroyed under the mutex
};

}  // namespace ZYNE::Linux
