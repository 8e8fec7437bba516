#include "companion/program/session.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "linux/base/log_domains.h"
#include "platform/log/log_print.h"

namespace ZYNE::Companion {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr LogDomain LOG = Linux::LogDomains::COMPANION;
constexpr auto COMPLAINT_PERIOD = 60s;  // of what peers send

std::set<KeyCode> KeysOf(const std::vector<int32_t>& codes) {
    std::set<KeyCode> keys;
    std::ranges::transform(
        codes, std::inserter(keys, keys.end()), [](int32_t code) { return static_cast<KeyCode>(code); });
    return keys;
}

CrossingRules RulesOf(const Client::DeskOptions& desk) {
    return {desk.push, desk.corner, KeysOf(desk.modifier), desk.drags, KeysOf(desk.homeKeys)};
}

std::string WordOf(CrossingMachine::State state) {
    switch (state) {
    case CrossingMachine::State::LEAVING:
        return "leaving";
    case CrossingMachine::State::AWAY:
        return "away";
    case CrossingMachine::State::HOST:
        return "host";
    default:
        return "home";
    }
}

}  // namespace

Session::Session(Options options, const Surroundings& around)
    : options_(std::move(options)), desktop_(options_.loop, {options_.desk.display, options_.keeper}),
      clipboard_(
          options_.desk.clipboard ? std::make_unique<XClipboard>(options_.loop, options_.desk.display) : nullptr),
      links_(options_.loop, options_.requests, options_.app, *this), machine_(around.self, desktop_, links_, *this) {
    machine_.SetRules(RulesOf(options_.desk));
    if (clipboard_) {
        exchange_.emplace(options_.loop, *clipboard_, links_);
        clipboard_->Start(*exchange_);
    }
    desktop_.Start(*this);
    OnScreens(desktop_.GetScreens());
    OnSurroundings(around);
}

Session::~Session() {
    machine_.Stop(Reason::SWITCHED_OFF, steady_clock::now());
}

void Session::OnSurroundings(const Surroundings& around) {
    machine_.SetPlacements(around.placements);
    machine_.OnLocked(around.isLocked, steady_clock::now());
    links_.SetPeers(around.peers);
    ArmTimer();
}

void Session::OnPeerScreen(const std::string& peer, bool isLocked) {
    machine_.OnPeerLocked(peer, isLocked, steady_clock::now());
    ArmTimer();
}

void Session::OnPeerSwitchedOff(const std::string& peer) {
    links_.Drop(peer);
    ArmTimer();
}

bool Session::BringHome() {
    const bool hasMoved = machine_.Return(steady_clock::now());
    ArmTimer();
    return hasMoved;
}

Client::DeskState Session::GetState() const {
    const Counters& counters = machine_.GetCounters();
    return {WordOf(machine_.GetState()), machine_.Peer(), counters.sent, counters.dropped,
        counters.roundTrip ? counters.roundTrip->count() : -1};
}

std::vector<Client::DeskFact> Session::Explain(const std::string& peer) const {
    std::vector<Client::DeskFact> facts;
    for (const CrossingFact& fact : machine_.Explain(peer)) {
        facts.push_back({fact.name, fact.holds});
    }
    return facts;
}

void Session::OnMotion(const Motion& motion) {
    machine_.OnMotion(motion, steady_clock::now());
    ArmTimer();
}

void Session::OnKey(const KeyChange& key) {
    machine_.OnKey(key, steady_clock::now());
    ArmTimer();
}

void Session::OnButton(const ButtonChange& button) {
    machine_.OnButton(button, steady_clock::now());
    ArmTimer();
}

void Session::OnScroll(const Scroll& scroll) {
    machine_.OnScroll(scroll, steady_clock::now());
    ArmTimer();
}

void Session::OnScreens(const std::vector<Screen>& screens) {
    machine_.OnScreens(screens, steady_clock::now());
    options_.screens(screens);
    ArmTimer();
}

void Session::OnLost(const std::string& reason) {
    machine_.Stop(Reason::NO_DISPLAY, steady_clock::now());
    options_.lost(reason);
}

void Session::OnPeerUp(const std::string& peer) {
    machine_.OnPeerUp(peer, steady_clock::now());
    ArmTimer();
}

void Session::OnPeerDown(const std::string& peer) {
    machine_.OnPeerDown(peer, steady_clock::now());
    machine_.OnPeerLocked(peer, false, steady_clock::now());  // what was told of it may not hold any more
    if (exchange_) {
        exchange_->OnPeerDown(peer);
    }
    ArmTimer();
}

void Session::OnMessage(const std::string& peer, const Message& message) {
    if (const auto* const copied = std::get_if<Copied>(&message)) {
        if (exchange_) {
            exchange_->OnOffer(peer, *copied);
        }
        return;
    }
    machine_.OnMessage(peer, message, steady_clock::now());
}

void Session::OnNonsense(const std::string& peer) {
    machine_.OnNonsense(peer);
    const auto now = steady_clock::now();
    if (!complained_ || now - *complained_ >= COMPLAINT_PERIOD) {
        complained_ = now;
        LogPrint(LogType::CORE, LogLevel::WARN, LOG, "the companion of %{public}s sends what is no message", peer);
    }
}

void Session::OnContent(const std::string& peer, std::string_view message) {
    if (exchange_) {
        exchange_->OnContent(peer, message);
    }
}

void Session::OnContentRoom(const std::string& peer) {
    if (exchange_) {
        exchange_->OnContentRoom(peer);
    }
}

void Session::OnPassage(const Passage& passage) {
    const bool hasGone = passage.kind == Passage::Kind::ENTERED || passage.kind == Passage::Kind::GUEST_LEFT;
    if (exchange_ && hasGone) {
        exchange_->OnPointerGone(passage.peer);
    }
    options_.passed(passage);
}

// The timer rings early rather than being set anew with each motion: what is due moves on all the time.
void Session::ArmTimer() {
    const auto next = machine_.NextTime();
    if (!next || (armed_ && *armed_ <= *next)) {
        return;
    }
    armed_ = next;
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(*next - steady_clock::now());
    timer_ = options_.loop.After(std::max(wait, std::chrono::milliseconds(0)), [this] { OnTimer(); });
}

void Session::OnTimer() {
    armed_.reset();
    const auto now = steady_clock::now();
    if (const auto next = machine_.NextTime(); next && *next <= now) {
        machine_.OnTime(now);
    }
    ArmTimer();
}

}  // namespace ZYNE::Companion
