// The companion's work on one display, for as long as that is there: what comes from display, peers and device goes to
// the machine that decides.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "client/channel_requests.h"
#include "client/crossing.h"
#include "client/desk.h"
#include "companion/core/crossing_machine.h"
#include "companion/program/clipboard_exchange.h"
#include "companion/program/device_follower.h"
#include "companion/program/peer_links.h"
#include "companion/x11/x_clipboard.h"
#include "companion/x11/x_desktop.h"
#include "linux/base/event_loop.h"

namespace ZYNE::Companion {

// The loop's thread alone.
class Session final : private Desktop::Listener, private PeerLinksUser, private PassageWatch {
public:
    struct Options {
        Linux::EventLoop& loop;
        Client::ChannelRequests& requests;
        std::string app;
        std::string keeper;  // the program, see XDesktop
        Client::DeskOptions desk;
        // On the loop's thread; the first two with the session still at work.
        std::function<void(const Passage& passage)> passed;
        std::function<void(const std::vector<Screen>& screens)> screens;
        std::function<void(const std::string& reason)> lost;  // the display is; the session is to be destroyed, later
    };

    // Throws std::runtime_error with one line when the display is not there.
    Session(Options options, const Surroundings& around);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    // The pointer comes home, and guests are sent home.
    ~Session();

    void OnSurroundings(const Surroundings& around);
    void OnPeerScreen(const std::string& peer, bool isLocked);
    void OnPeerSwitchedOff(const std::string& peer);

    // False when each pointer is at home.
    bool BringHome();
    Client::DeskState GetState() const;
    std::vector<Client::DeskFact> Explain(const std::string& peer) const;

private:
    // Desktop::Listener
    void OnMotion(const Motion& motion) override;
    void OnKey(const KeyChange& key) override;
    void OnButton(const ButtonChange& button) override;
    void OnScroll(const Scroll& scroll) override;
    void OnScreens(const std::vector<Screen>& screens) override;
    void OnLost(const std::string& reason) override;

    // PeerLinksUser
    void OnPeerUp(const std::string& peer) override;
    void OnPeerDown(const std::string& peer) override;
    void OnMessage(const std::string& peer, const Message& message) override;
    void OnNonsense(const std::string& peer) override;
    void OnContent(const std::string& peer, std::string_view message) override;
    void OnContentRoom(const std::string& peer) override;
    void OnRead() override { ArmTimer(); }

    void OnPassage(const Passage& passage) override;

    // Sees to it that the machine is called when its time has come.
    void ArmTimer();
    void OnTimer();

    const Options options_;
    XDesktop desktop_;
    std::unique_ptr<XClipboard> clipboard_;  // null when nothing that is copied crosses
    PeerLinks links_;
    std::optional<ClipboardExchange> exchange_;
    CrossingMachine machine_;
    std::optional<CrossingMachine::TimePoint> complained_;  // in the log, of what a peer sent
    Linux::EventLoop::Source timer_;
    std::optional<CrossingMachine::TimePoint> armed_;  // when the timer rings
};

}  // namespace ZYNE::Companion
