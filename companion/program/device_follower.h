// Follows what the device says that concerns crossing: peers, profiles, screens, switches.
#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "client/crossing_watch.h"
#include "client/device.h"
#include "client/device_watch.h"
#include "companion/core/placement.h"
#include "linux/base/mutex.h"
#include "linux/base/unique_fd.h"

namespace ZYNE::Companion {

// What the device knows, all at one moment.
struct Surroundings {
    std::string self;                   // the id of the device
    std::set<std::string> peers;        // those of the account that are online
    std::vector<Placement> placements;  // as this device sees them
    bool isLocked = false;              // nobody may use the device: its screen is locked or covered
};

// Called on threads of the follower, of the first three one at a time, with no lock held.
struct FollowerHandlers {
    std::function<void(const Surroundings& around)> changed;
    std::function<void()> ended;  // the device has; the last call
    std::function<void(const std::string& peer, bool isLocked)> peerScreen;
    std::function<void(const std::string& peer)> peerSwitchedOff;
};

// Two threads of its own, for reading of the device and for its events of crossing.
class DeviceFollower {
public:
    // Throws DeviceError when the device cannot be reached.
    DeviceFollower(const Client::DeviceEntry& entry, FollowerHandlers handlers);
    DeviceFollower(const DeviceFollower&) = delete;
    DeviceFollower& operator=(const DeviceFollower&) = delete;
    // Waits until a handler has returned.
    ~DeviceFollower();

    // Any thread. Publishes what screens there are, soon.
    void PublishScreens(const std::string& screens);

private:
    void Wake() const;
    void Run() noexcept;
    bool IsStopping();
    bool Work();
    void WaitBriefly() const;
    void Look();
    void Publish();
    void OnCrossing(const Client::CrossingEvent& event);

    const FollowerHandlers handlers_;
    const Linux::UniqueFd wake_;
    Client::Device device_;  // the thread's from its start on
    Client::DeviceWatch watch_;
    Client::Device peers_;  // that of the watch of crossing
    Client::CrossingWatch crossing_;

    Linux::Mutex mutex_;
    bool isStopping_ GUARDED_BY(mutex_) = false;
    std::string screens_ GUARDED_BY(mutex_);  // to be published
    std::string published_;                   // the thread's
    std::thread thread_;                      // last: it uses the others
};

}  // namespace ZYNE::Companion
