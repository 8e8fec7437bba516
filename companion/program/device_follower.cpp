#include "companion/program/device_follower.h"

#include <cerrno>
#include <exception>
#include <poll.h>
#include <system_error>
#include <utility>

#include <sys/eventfd.h>

#include "companion/placements/placement_book.h"
#include "linux/base/log_domains.h"
#include "platform/log/log_print.h"

namespace ZYNE::Companion {
namespace {

constexpr LogDomain LOG = Linux::LogDomains::COMPANION;
constexpr int RETRY_MILLISECONDS = 1000;
constexpr int32_t SCREEN_OFF = 0;
constexpr int32_t SCREEN_LOCKED = 2;
constexpr char SERVICE_TYPE[] = "desk";

bool IsLocked(int32_t screen) {
    return screen == SCREEN_OFF || screen == SCREEN_LOCKED;
}

int MakeEvent() {
    const int descriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (descriptor < 0) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
    return descriptor;
}

}  // namespace

DeviceFollower::DeviceFollower(const Client::DeviceEntry& entry, FollowerHandlers handlers)
    : handlers_(std::move(handlers)), wake_(MakeEvent()), device_(entry),
      watch_(device_,
          {.profile =
                  [this](const Client::ProfileChange& change) {
                      if (change.entry.service == PROFILE_SERVICE) {
                          Wake();
                      }
                  },
              .peers = [this] { Wake(); },
              .screen =
                  [this](int32_t) {
                      Wake();
                  }}),
      peers_(entry),
      crossing_(peers_, {"screen", "switch"}, [this](const Client::CrossingEvent& event) { OnCrossing(event); }),
      thread_([this] { Run(); }) {}

DeviceFollower::~DeviceFollower() {
    {
        const Linux::MutexLock lock(mutex_);
        isStopping_ = true;
    }
    Wake();
    thread_.join();
}

void DeviceFollower::PublishScreens(const std::string& screens) {
    {
        const Linux::MutexLock lock(mutex_);
        screens_ = screens;
    }
    Wake();
}

void DeviceFollower::Wake() const {
    eventfd_write(wake_.Get(), 1);
}

void DeviceFollower::Run() noexcept {
    try {
        while (!IsStopping()) {
            if (!Work()) {
                WaitBriefly();
            }
            watch_.Follow(wake_.Get());
            eventfd_t count = 0;
            eventfd_read(wake_.Get(), &count);
        }
    } catch (const std::exception& error) {
        LogPrint(LogType::CORE, LogLevel::WARN, LOG, "the device is not followed any more: %{public}s", error.what());
        handlers_.ended();
    }
}

// False when the device did not answer: it may be busy, or stopped for a while.
bool DeviceFollower::Work() {
    try {
        Publish();
        Look();
        return true;
    } catch (const Client::DeviceError& error) {
        LogPrint(LogType::CORE, LogLevel::WARN, LOG, "the device is asked again: %{public}s", error.what());
        return false;
    }
}

// Until somebody wakes this thread, a second at most; then it goes round.
void DeviceFollower::WaitBriefly() const {
    pollfd woken{wake_.Get(), POLLIN, 0};
    poll(&woken, 1, RETRY_MILLISECONDS);
    Wake();
}

bool DeviceFollower::IsStopping() {
    const Linux::MutexLock lock(mutex_);
    return isStopping_;
}

void DeviceFollower::Look() {
    Surroundings around;
    around.self = device_.Info().FindPeer(device_.Name()).id;
    for (const Client::Peer& peer : device_.Info().ListPeers()) {
        if (peer.online && peer.sameAccount) {
            around.peers.insert(peer.id);
        }
    }
    PlacementBook book;
    for (const Client::ProfileEntry& entry : device_.Profiles().List("")) {
        if (entry.service == PROFILE_SERVICE && entry.whole) {
            book.Add(entry.deviceId, entry.key, entry.value);
        }
    }
    around.placements = book.Of(around.self);
    around.isLocked = IsLocked(device_.Crossing().GetScreen());
    handlers_.changed(around);
}

void DeviceFollower::Publish() {
    std::string screens;
    {
        const Linux::MutexLock lock(mutex_);
        screens = screens_;
    }
    if (screens != published_) {
        device_.Profiles().Put(PROFILE_SERVICE, SERVICE_TYPE, SCREENS_KEY, screens);
        published_ = screens;
    }
}

void DeviceFollower::OnCrossing(const Client::CrossingEvent& event) {
    try {
        if (const auto* const screen = std::get_if<Client::ScreenEvent>(&event)) {
            handlers_.peerScreen(peers_.Info().FindPeer(screen->networkId).id, IsLocked(screen->status));
        } else if (const auto* const toggle = std::get_if<Client::SwitchEvent>(&event); toggle && toggle->status == 0) {
            handlers_.peerSwitchedOff(peers_.Info().FindPeer(toggle->networkId).id);
        }
    } catch (const Client::DeviceError&) {
        // The peer or the device has gone, which is told otherwise.
    }
}

}  // namespace ZYNE::Companion
