#include "companion/x11/x_desktop.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <span>

#include <xcb/randr.h>

namespace ZYNE::Companion {

using Linux::XReply;

namespace {

using namespace std::chrono_literals;

// A mouse that reports more often than this, far from each edge, is read in groups of this length.
constexpr auto REST = 8ms;
constexpr auto QUICK = 4ms;
constexpr int32_t QUICK_ROUNDS = 8;
constexpr size_t WORTH_A_REST = 3;       // events in one
constexpr int32_t FAR_FROM_EDGES = 100;  // pixels
constexpr int32_t FAR_IN_ROUNDS = 16;    // motions like the last one

constexpr auto LOOK_AGAIN_FOR_BUTTONS = 20ms;
constexpr auto OFF_TIME = 300ms;  // then the screens that are off are meant to be

constexpr uint32_t FIRST_WHEEL_BUTTON = 4;
constexpr uint32_t LAST_WHEEL_BUTTON = 7;
constexpr int32_t NOTCH = 120;

bool IsWheel(uint32_t button) {
    return button >= FIRST_WHEEL_BUTTON && button <= LAST_WHEEL_BUTTON;
}

Scroll ScrollOf(uint32_t button) {
    constexpr std::array<Scroll, 4> SCROLLS{{{0, -NOTCH}, {0, NOTCH}, {-NOTCH, 0}, {NOTCH, 0}}};
    return SCROLLS[button - FIRST_WHEEL_BUTTON];
}

// Ends with the connection, which the keeper waits for.
xcb_window_t MakeSign(xcb_connection_t* connection, xcb_window_t root) {
    const xcb_window_t window = xcb_generate_id(connection);
    xcb_create_window(
        connection, 0, window, root, 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    return window;
}

std::set<Button> ButtonsOf(const xcb_input_xi_query_pointer_reply_t& reply) {
    std::set<Button> buttons;
    const auto* words = xcb_input_xi_query_pointer_buttons(&reply);
    for (Button button = 1; button <= MAX_BUTTON && button / 32 < reply.buttons_len; ++button) {
        if (!IsWheel(button) && (words[button / 32] >> button % 32 & 1U) != 0) {
            buttons.insert(button);
        }
    }
    return buttons;
}

std::set<KeyCode> KeysOf(const xcb_query_keymap_reply_t& reply) {
    std::set<KeyCode> keys;
    for (KeyCode code = 0; code <= MAX_KEY_CODE; ++code) {
        const uint32_t key = code + Linux::X_FIRST_KEY;
        if ((reply.keys[key / 8] >> key % 8 & 1U) != 0) {
            keys.insert(code);
        }
    }
    return keys;
}

}  // namespace

XDesktop::XDesktop(Linux::EventLoop& loop, const Options& options)
    : loop_(loop), link_(Linux::OpenX(options.display)), connection_(link_.connection.get()), root_(link_.screen->root),
      reader_(connection_, root_), firstMonitorEvent_(Linux::UseXMonitors(connection_, root_)),
      fullscreen_(connection_, root_), grab_(connection_, root_), lockKeys_(connection_) {
    const uint32_t rootEvents = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection_, root_, XCB_CW_EVENT_MASK, &rootEvents);
    keeper_ = std::make_unique<Keeper>(loop, options.keeper, options.display, MakeSign(connection_, root_));
    injector_.emplace(connection_, root_, own_, lockKeys_, *keeper_);
    meter_.SetDevices(reader_.Devices());
    ReadScreens();
    FindPointer();
    steps_.clear();
}

XDesktop::~XDesktop() {
    Release(capturedAt_);
    ReleaseAll();
    injector_->WaitUntilDone();
}

void XDesktop::Start(Listener& listener) {
    listener_ = &listener;
    input_ = loop_.Watch(xcb_get_file_descriptor(connection_), POLLIN, [this](uint32_t) { OnReadable(); });
    DeliverLater();
}

bool XDesktop::IsAlive() const {
    return xcb_connection_has_error(connection_) == 0;
}

XReply<xcb_input_xi_query_pointer_reply_t> XDesktop::AskPointer() {
    return XReply<xcb_input_xi_query_pointer_reply_t>(xcb_input_xi_query_pointer_reply(
        connection_, xcb_input_xi_query_pointer(connection_, root_, reader_.PointerDevice()), nullptr));
}

InputState XDesktop::GetState() {
    const auto keysCookie = xcb_query_keymap(connection_);
    const auto pointer = AskPointer();
    const XReply<xcb_query_keymap_reply_t> keys(xcb_query_keymap_reply(connection_, keysCookie, nullptr));
    InputState state;
    if (pointer && keys) {
        state.pointer = {pointer->root_x >> 16, pointer->root_y >> 16};
        state.buttons = ButtonsOf(*pointer);
        state.keys = KeysOf(*keys);
        state.locks = lockKeys_.Read(pointer->mods.locked);
    }
    TakeAfterOperation();
    return state;
}

void XDesktop::ReadScreens() {
    const auto wholeCookie = xcb_get_geometry(connection_, root_);
    std::vector<Linux::XMonitor> monitors;
    if (firstMonitorEvent_ != 0) {
        monitors = Linux::GetXMonitors(connection_, root_);
    }
    screens_.clear();
    for (Linux::XMonitor& monitor : monitors) {
        if (monitor.width > 0 && monitor.height > 0) {
            screens_.push_back({std::move(monitor.name), monitor.x, monitor.y, monitor.width, monitor.height});
        }
    }
    const XReply<xcb_get_geometry_reply_t> whole(xcb_get_geometry_reply(connection_, wholeCookie, nullptr));
    if (!whole) {
        return;
    }
    if (firstMonitorEvent_ == 0) {
        screens_.push_back({"screen", 0, 0, whole->width, whole->height});
    }
    meter_.SetSize(whole->width, whole->height);
    grab_.SetScreens(screens_);
}

// All are off for a moment while their modes are set.
void XDesktop::FollowScreens() {
    std::vector<Screen> before = screens_;
    ReadScreens();
    if (screens_.empty() && !before.empty() && !areOff_) {
        screens_ = std::move(before);
        allOff_ = loop_.After(OFF_TIME, [this] {
            areOff_ = true;
            haveScreensChanged_ = true;
            DeliverLater();
        });
        return;
    }
    allOff_ = {};
    areOff_ = false;
    if (screens_ != before) {
        listener_->OnScreens(screens_);
    }
}

std::string XDesktop::Capture(bool withButtons) {
    if (!IsAlive()) {
        return "the display is gone";
    }
    if (grab_.IsOn()) {
        return {};
    }
    std::string whyNot = "a window fills the screen";
    if (!fullscreen_.IsThere(screens_)) {
        whyNot = grab_.Begin(reader_.PointerDevice(), reader_.KeyboardDevice(), withButtons);
    }
    TakeQueued();
    if (grab_.HasPointer()) {
        DetachPointer();
    } else if (grab_.IsOn()) {
        xcb_flush(connection_);
        buttonsUp_ = loop_.Every(LOOK_AGAIN_FOR_BUTTONS, [this] { FollowButtons(); });
    }
    TakeAfterOperation();
    return whyNot;
}

void XDesktop::DetachPointer() {
    AddSettled(meter_.SettleByHabit());
    capturedAt_ = meter_.Pointer();
    meter_.Detach(capturedAt_);
    grab_.Park();
}

// The program that held the pointer may have let go of it.
void XDesktop::FollowButtons() {
    if (grab_.TakePointer()) {
        buttonsUp_ = {};
        TakeQueued();
        DetachPointer();
    }
    TakeAfterOperation();
}

void XDesktop::Release(Point at) {
    if (!grab_.IsOn()) {
        return;
    }
    buttonsUp_ = {};
    TakeQueued();
    AddSettled(meter_.SettleByHabit());
    grab_.End(at);
    meter_.Attach(at);
    TakeAfterOperation();
}

void XDesktop::MovePointer(Point to) {
    injector_->MovePointer(to);
    meter_.SetPointer(to);
}

void XDesktop::PressKey(KeyCode code, bool isDown) {
    injector_->PressKey(code, isDown);
}

void XDesktop::PressButton(Button button, bool isDown) {
    injector_->PressButton(button, isDown);
}

void XDesktop::ScrollBy(const Scroll& scroll) {
    injector_->ScrollBy(scroll);
}

void XDesktop::SetLocks(const Locks& locks) {
    if (const auto state = AskPointer()) {
        injector_->SetLocks(locks, state->mods.locked);
    }
    TakeAfterOperation();
}

void XDesktop::ReleaseAll() {
    injector_->ReleaseAll();
}

void XDesktop::Flush() {
    injector_->Flush();
    TakeAfterOperation();
}

void XDesktop::OnReadable() {
    if (rest_) {
        return;
    }
    TakeQueued();
    // The socket is read once: the loop comes again for what is left there, and what is here is not held up by a look.
    for (Linux::XEvent event(xcb_poll_for_event(connection_)); event;
         event.reset(xcb_poll_for_queued_event(connection_))) {
        Take(*event);
    }
    Rest(Deliver());
}

void XDesktop::TakeQueued() {
    if (next_) {
        Take(*std::exchange(next_, nullptr));
    }
    while (const Linux::XEvent event{xcb_poll_for_queued_event(connection_)}) {
        Take(*event);
    }
}

void XDesktop::TakeAfterOperation() {
    TakeQueued();
    if (!steps_.empty() || haveScreensChanged_) {
        DeliverLater();
    }
}

void XDesktop::TakeQueuedBefore(uint32_t sequence) {
    next_.reset(xcb_poll_for_queued_event(connection_));
    while (next_ && Linux::IsBefore(next_->full_sequence, sequence)) {
        Take(*next_);
        next_.reset(xcb_poll_for_queued_event(connection_));
    }
}

void XDesktop::Take(const xcb_generic_event_t& event) {
    ++taken_;
    const int type = event.response_type & 0x7f;
    if (type == 0) {
        own_.Drop(event.full_sequence);
    } else if (type == XCB_MAPPING_NOTIFY) {
        lockKeys_.Forget();
    } else if (type == XCB_CONFIGURE_NOTIFY ||
        (firstMonitorEvent_ != 0 &&
            (type == firstMonitorEvent_ + XCB_RANDR_SCREEN_CHANGE_NOTIFY ||
                type == firstMonitorEvent_ + XCB_RANDR_NOTIFY))) {
        haveScreensChanged_ = true;
    } else {
        const InputReport report = reader_.Read(event);
        if (const auto* raw = std::get_if<RawReport>(&report)) {
            TakeRaw(*raw, event.full_sequence);
        } else if (const auto* place = std::get_if<PointerPlace>(&report)) {
            TakePlace(place->at, event.full_sequence);
        } else if (std::holds_alternative<DevicesChanged>(report)) {
            reader_.LearnDevices();
            meter_.SetDevices(reader_.Devices());
            downKeys_.clear();
        }
    }
}

void XDesktop::TakeRaw(const RawReport& report, uint32_t sequence) {
    OwnEvents::Event event{OwnEvents::Kind::BUTTON, report.isDown, report.code, {}};
    if (report.kind == RawReport::Kind::MOTION) {
        event = {OwnEvents::Kind::MOTION, false, 0,
            {static_cast<int32_t>(report.axes.x.value_or(-1)), static_cast<int32_t>(report.axes.y.value_or(-1))}};
    } else if (report.kind == RawReport::Kind::KEY) {
        event.kind = OwnEvents::Kind::KEY;
    }
    if (report.isTestDevice && own_.Take(sequence, event)) {
        TakeOwn(event);
    } else if (report.kind == RawReport::Kind::MOTION) {
        TakeMotion(report);
    } else if (report.kind == RawReport::Kind::KEY) {
        TakeKey(report);
    } else {
        TakeButton(report);
    }
}

void XDesktop::TakeOwn(const OwnEvents::Event& event) {
    injector_->Confirm(event);
    if (event.kind == OwnEvents::Kind::KEY && event.isDown) {
        ownKeys_.insert(event.code);
    } else if (event.kind == OwnEvents::Kind::KEY) {
        ownKeys_.erase(event.code);
    }
}

// A motion of no distance as yet holds the place of what the meter does not know.
void XDesktop::TakeMotion(const RawReport& report) {
    const bool waited = meter_.IsWaiting();
    AddMotion(meter_.Add(report.device, report.axes));
    if (!waited && meter_.IsWaiting()) {
        settleAt_ = steps_.size() - 1;
    }
}

// The server repeats the press of a key that stays down.
void XDesktop::TakeKey(const RawReport& report) {
    const std::pair key(report.device, report.code);
    const bool isRepeated = report.isDown && !downKeys_.insert(key).second;
    if (!report.isDown) {
        downKeys_.erase(key);
    }
    const bool isOwnRepeated = report.isTestDevice && ownKeys_.contains(report.code);
    const uint32_t code = report.code - Linux::X_FIRST_KEY;
    if (!isRepeated && !isOwnRepeated && report.code > Linux::X_FIRST_KEY && code <= MAX_KEY_CODE) {
        steps_.emplace_back(KeyChange{static_cast<KeyCode>(code), report.isDown});
    }
}

void XDesktop::TakeButton(const RawReport& report) {
    if (IsWheel(report.code)) {
        if (report.isDown) {
            steps_.emplace_back(ScrollOf(report.code));
        }
    } else if (report.code > 0 && report.code <= MAX_BUTTON) {
        steps_.emplace_back(ButtonChange{static_cast<Button>(report.code), report.isDown});
    }
}

void XDesktop::TakePlace(Point pointer, uint32_t sequence) {
    if (!grab_.HasPointer()) {
        return;
    }
    AddSettled(meter_.Settle(pointer));
    meter_.SetPointer(pointer);
    grab_.ParkFrom(pointer, sequence);
}

void XDesktop::AddMotion(Distance distance) {
    auto* last = steps_.empty() ? nullptr : std::get_if<Motion>(&steps_.back());
    if (last == nullptr) {
        last = &std::get<Motion>(steps_.emplace_back(Motion()));
    }
    last->dx += distance.dx;
    last->dy += distance.dy;
}

void XDesktop::AddSettled(Distance distance) {
    const auto at = std::exchange(settleAt_, std::nullopt);
    if (at) {
        auto& motion = std::get<Motion>(steps_[*at]);
        motion.dx += distance.dx;
        motion.dy += distance.dy;
    } else if (distance.dx != 0 || distance.dy != 0) {
        AddMotion(distance);
    }
}

// The listener may have asked for something meanwhile, and the library have read more by that.
size_t XDesktop::Deliver() {
    size_t told = 0;
    isDelivering_ = true;
    while (IsAlive()) {
        if (std::exchange(haveScreensChanged_, false)) {
            FollowScreens();
        }
        const auto isMotion = [](const Step& step) {
            return std::holds_alternative<Motion>(step);
        };
        if (!grab_.HasPointer() && std::ranges::any_of(steps_, isMotion)) {
            FindPointer();
        }
        settleAt_.reset();
        const std::vector<Step> steps = std::exchange(steps_, {});
        for (const Step& step : steps) {
            Tell(step);
        }
        told += steps.size();
        TakeQueued();
        if (steps_.empty() && !haveScreensChanged_) {
            break;
        }
    }
    isDelivering_ = false;
    if (!IsAlive()) {
        Lose();
    }
    return told;
}

// An event that the server made before it answered comes before the answer, with the number of an earlier request.
void XDesktop::FindPointer() {
    const auto question = xcb_query_pointer(connection_, root_);
    const XReply<xcb_query_pointer_reply_t> answer(xcb_query_pointer_reply(connection_, question, nullptr));
    if (!answer) {
        return;
    }
    const Point pointer{answer->root_x, answer->root_y};
    TakeQueuedBefore(question.sequence);
    AddSettled(meter_.Settle(pointer));
    meter_.SetPointer(pointer);
    for (Step& step : steps_) {
        if (auto* motion = std::get_if<Motion>(&step)) {
            motion->pointer = pointer;
        }
    }
}

void XDesktop::Tell(const Step& step) {
    if (const auto* motion = std::get_if<Motion>(&step)) {
        speed_ = {motion->dx, motion->dy};
        // One of no distance holds a place, or is the end of a device's report about something else.
        if (grab_.HasPointer() && motion->dx == 0 && motion->dy == 0) {
            return;
        }
        listener_->OnMotion(*motion);
    } else if (const auto* key = std::get_if<KeyChange>(&step)) {
        listener_->OnKey(*key);
    } else if (const auto* button = std::get_if<ButtonChange>(&step)) {
        listener_->OnButton(*button);
        if (grab_.IsOn() && !grab_.HasPointer() && !button->isDown) {
            FollowButtons();
        }
    } else {
        listener_->OnScroll(std::get<Scroll>(step));
    }
}

void XDesktop::DeliverLater() {
    if (listener_ == nullptr || isDelivering_ || *isPosted_) {
        return;
    }
    *isPosted_ = true;
    loop_.Post([this, isPosted = std::weak_ptr(isPosted_)] {
        if (const auto posted = isPosted.lock()) {
            *posted = false;
            TakeQueued();
            Deliver();
        }
    });
}

void XDesktop::Lose() {
    if (std::exchange(isLost_, true)) {
        return;
    }
    input_ = {};
    rest_ = {};
    buttonsUp_ = {};
    allOff_ = {};
    keeper_->Stop();
    listener_->OnLost("the connection to the X server is lost");
}

// What comes meanwhile waits in the socket. Captured motion is never held up, nor is a motion that could reach an edge.
// Where little came meanwhile, nothing was spared.
void XDesktop::Rest(size_t told) {
    const auto now = std::chrono::steady_clock::now();
    const bool isQuick = now - std::exchange(lastRound_, now) < QUICK;
    const bool isBusy = std::exchange(taken_, 0) >= std::exchange(enough_, 1);
    quickRounds_ = isQuick && isBusy ? quickRounds_ + 1 : 0;
    if (isLost_ || grab_.IsOn() || quickRounds_ < QUICK_ROUNDS || (told > 0 && !IsFarFromEdges())) {
        return;
    }
    input_.SetEvents(0);
    rest_ = loop_.After(REST, [this] {
        rest_ = {};
        lastRound_ = std::chrono::steady_clock::now();
        enough_ = WORTH_A_REST;
        input_.SetEvents(POLLIN);
    });
}

bool XDesktop::IsFarFromEdges() const {
    const Point pointer = meter_.Pointer();
    const double speed = std::max(std::abs(speed_.dx), std::abs(speed_.dy));
    const double enough = std::max<double>(FAR_FROM_EDGES, FAR_IN_ROUNDS * speed);
    return std::ranges::any_of(screens_, [&](const Screen& screen) {
        return screen.Contains(pointer) && pointer.x - screen.x > enough && pointer.y - screen.y > enough &&
            screen.x + screen.width - pointer.x > enough && screen.y + screen.height - pointer.y > enough;
    });
}

}  // namespace ZYNE::Companion
