// An X display as the companion's desktop.
//
//     EventLoop loop("companion");
//     loop.Run([&] { desktop.emplace(loop, XDesktop::Options{":1", "/usr/libexec/companion_keeper"}); });
//     loop.Run([&] { desktop->Start(listener); });
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include <xcb/xcb.h>

#include "companion/desktop/desktop.h"
#include "companion/x11/fullscreen.h"
#include "companion/x11/injector.h"
#include "companion/x11/input_grab.h"
#include "companion/x11/input_reader.h"
#include "companion/x11/keeper.h"
#include "companion/x11/lock_keys.h"
#include "companion/x11/motion_meter.h"
#include "companion/x11/own_events.h"
#include "linux/base/event_loop.h"
#include "linux/desktop/x_link.h"

namespace ZYNE::Companion {

// The loop's thread, for all of it. One connection does everything: the order of requests and events on it tells what
// was injected here from what others did, and where the pointer was at a moment.
class XDesktop final : public Desktop {
public:
    struct Options {
        std::string display;  // such as ":1"; empty for the environment's
        std::string keeper;   // the program that lets go of what is down when this process dies
    };

    // Throws std::runtime_error with one line when there is no such display, or it cannot do what is needed.
    XDesktop(Linux::EventLoop& loop, const Options& options);
    XDesktop(const XDesktop&) = delete;
    XDesktop& operator=(const XDesktop&) = delete;
    // Lets go of everything.
    ~XDesktop();

    // From now on `listener`, which outlives this, is called. Once.
    void Start(Listener& listener);

    std::vector<Screen> GetScreens() override { return screens_; }
    InputState GetState() override;
    std::string Capture(bool withButtons) override;
    void Release(Point at) override;
    void MovePointer(Point to) override;
    void PressKey(KeyCode code, bool isDown) override;
    void PressButton(Button button, bool isDown) override;
    void ScrollBy(const Scroll& scroll) override;
    void SetLocks(const Locks& locks) override;
    void ReleaseAll() override;
    void Flush() override;

    pid_t KeeperPid() const { return keeper_->Pid(); }

private:
    using Step = std::variant<Motion, KeyChange, ButtonChange, Scroll>;

    bool IsAlive() const;
    // The modifiers that are locked, the buttons that are down and where the pointer is.
    Linux::XReply<xcb_input_xi_query_pointer_reply_t> AskPointer();
    void ReadScreens();
    void FollowScreens();

    void OnReadable();
    // What the library has read already, while it waited for an answer or sent.
    void TakeQueued();
    // The same, but only what happened before request number `sequence`.
    void TakeQueuedBefore(uint32_t sequence);
    void Take(const xcb_generic_event_t& event);
    void TakeRaw(const RawReport& report, uint32_t sequence);
    void TakeOwn(const OwnEvents::Event& event);
    void TakeMotion(const RawReport& report);
    void TakeKey(const RawReport& report);
    void TakeButton(const RawReport& report);
    void TakePlace(Point pointer, uint32_t sequence);
    // Adds to the last step when that is a motion.
    void AddMotion(Distance distance);
    // What waited in the meter, where it has its place among the steps.
    void AddSettled(Distance distance);

    // Tells what was taken, until there is no more. How many steps that were.
    size_t Deliver();
    void FindPointer();
    void Tell(const Step& step);
    // An operation may have taken something while it ran.
    void TakeAfterOperation();
    void DeliverLater();
    void Lose();

    // The pointer has been captured.
    void DetachPointer();
    void FollowButtons();
    void Rest(size_t told);
    bool IsFarFromEdges() const;

    Linux::EventLoop& loop_;
    std::unique_ptr<Keeper> keeper_;  // ends after the connection
    const Linux::XLink link_;
    xcb_connection_t* const connection_;
    const xcb_window_t root_;
    InputReader reader_;
    const uint8_t firstMonitorEvent_;  // 0 when the server has no monitors
    Fullscreen fullscreen_;
    InputGrab grab_;
    OwnEvents own_;
    LockKeys lockKeys_;
    std::optional<Injector> injector_;
    Listener* listener_ = nullptr;
    bool isLost_ = false;
    bool isDelivering_ = false;

    std::vector<Screen> screens_;
    bool haveScreensChanged_ = false;
    bool areOff_ = false;  // all screens, for long enough

    MotionMeter meter_;
    Point capturedAt_;
    std::vector<Step> steps_;                           // taken, not told yet
    std::optional<size_t> settleAt_;                    // the step that what waits in the meter belongs to
    Distance speed_;                                    // of the last motion that was told
    Linux::XEvent next_;                                // TakeQueuedBefore found it to be later
    std::set<uint32_t> ownKeys_;                        // down by our injection, as far as events say it
    std::set<std::pair<uint16_t, uint32_t>> downKeys_;  // the others, by device

    Linux::EventLoop::Source input_;
    Linux::EventLoop::Source rest_;
    Linux::EventLoop::Source allOff_;
    Linux::EventLoop::Source buttonsUp_;
    std::shared_ptr<bool> isPosted_ = std::make_shared<bool>(false);  // its posted tasks hold it weakly
    int32_t quickRounds_ = 0;
    size_t taken_ = 0;   // events in this round
    size_t enough_ = 1;  // of them to call it a quick one
    std::chrono::steady_clock::time_point lastRound_;
};

}  // namespace ZYNE::Companion
