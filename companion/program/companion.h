// The companion of one device: waits for its display, works on it, and tells programs what it does.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "client/channel_requests.h"
#include "client/crossing.h"
#include "client/desk.h"
#include "companion/program/desk_service.h"
#include "companion/program/device_follower.h"
#include "companion/program/session.h"
#include "linux/base/event_loop.h"

namespace ZYNE::Companion {

struct CompanionOptions {
    Client::DeviceEntry device;
    std::string app;     // the name of its bundle
    std::string keeper;  // the program, see XDesktop
};

// Made and destroyed on the main thread. Threads of its own, one of which, the loop, does everything of the pointer.
class Companion {
public:
    // Begins. Throws std::runtime_error with one line when the device cannot be asked.
    explicit Companion(const CompanionOptions& options);
    Companion(const Companion&) = delete;
    Companion& operator=(const Companion&) = delete;
    // The pointer comes home, and guests are sent home.
    ~Companion();

    // Any thread but the loop's. Brings the pointer home, and sends a guest home; false when there is nothing to do.
    bool BringHome();

private:
    // All on the loop's thread.
    void OnSurroundings(const Surroundings& around);
    void OpenSession();
    void CloseSession(const std::string& reason);
    void OnPassage(const Passage& passage);
    Client::DeskState GetState() const;
    std::vector<Client::DeskFact> Explain(const std::string& peer) const;

    FollowerHandlers MakeFollowerHandlers();
    DeskService::Handlers MakeServiceHandlers();

    const CompanionOptions options_;
    const Client::DeskOptions desk_;

    // The loop's thread alone.
    std::optional<Surroundings> around_;
    bool isEnding_ = false;
    std::string trouble_;  // why there is no session, as it was logged
    std::unique_ptr<Session> session_;
    Linux::EventLoop::Source retry_;

    Linux::EventLoop loop_{"companion"};
    Client::ChannelRequests requests_;
    DeskService service_;
    DeviceFollower follower_;  // last: it calls the others
};

}  // namespace ZYNE::Companion
