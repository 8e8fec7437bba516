#include "tests/companion/simulated_world.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace ZYNE::Companion {
namespace {

using namespace std::chrono_literals;

constexpr KeyCode ESCAPE = 1;
constexpr KeyCode CTRL = 29;
constexpr KeyCode LETTER = 30;
constexpr KeyCode ALT = 56;
constexpr std::array<KeyCode, 7> KEYS{ESCAPE, CTRL, LETTER, 42, 48, ALT, 97};
constexpr size_t QUEUE = 500;  // messages that a channel holds

const std::vector<Screen> ONE_SCREEN{{"one", 0, 0, 400, 300}};
const std::vector<std::vector<Screen>> LAYOUTS{{}, ONE_SCREEN, {{"one", 0, 0, 300, 200}, {"two", 300, 50, 400, 300}},
    {{"two", -500, -100, 400, 300}, {"one", 0, 0, 100, 500}}, {{"one", 10, 20, 1, 1}}};

template <typename Held>
bool IsWithin(const Held& some, const Held& all) {
    return std::includes(all.begin(), all.end(), some.begin(), some.end());
}

// How far the pointer was moved and in which visit, for what says that.
const Total* TotalOf(const Message& message, Visit visit) {
    return std::visit(
        [visit](const auto& body) -> const Total* {
            if constexpr (requires { body.total; }) {
                return body.visit == visit ? &body.total : nullptr;
            } else {
                return nullptr;
            }
        },
        message);
}

}  // namespace

bool SimulatedWorld::Device::IsOut() const {
    return machine &&
        (machine->GetState() == CrossingMachine::State::LEAVING || machine->GetState() == CrossingMachine::State::AWAY);
}

SimulatedWorld::SimulatedWorld(uint64_t seed, size_t devices) : random_(seed) {
    for (size_t index = 0; index < devices; ++index) {
        devices_.push_back(std::make_unique<Device>());
        Device& device = *devices_.back();
        device.world = this;
        device.index = index;
        device.id = std::string(1, static_cast<char>('a' + index));
        device.ownLocks.caps = index == 1;
        device.desktop.locks = device.ownLocks;
        device.desktop.screens = ONE_SCREEN;
    }
    Mend();
}

void SimulatedWorld::Step() {
    PassTime();
    for (const auto& device : devices_) {
        Serve(*device);
    }
    if (!isCalm_) {
        Act();
        if (OneIn(400)) {
            Disturb(AnyBusy(), Any());
        }
        if (OneIn(2000)) {
            Mend();
        }
    }
    Check();
}

// Now and then nobody gets to run for a while. What is told then is told late, so that time does not count.
void SimulatedWorld::PassTime() {
    passed_ = Some(5);
    now_ = In(isCalm_ || !OneIn(500) ? passed_ : Some(300));
}

void SimulatedWorld::Serve(Device& device) {
    if (!Runs(device)) {
        return;
    }
    while (!device.waiting.empty()) {
        const Input input = device.waiting.front();
        device.waiting.pop_front();
        Tell(device, input);
    }
    for (const auto& peer : devices_) {
        if (peer->index != device.index) {
            Notice(device, *peer);
            Deliver(*peer, device);
        }
    }
    if (const auto next = device.machine->NextTime(); next && *next <= now_) {
        device.machine->OnTime(now_);
    }
}

void SimulatedWorld::Notice(Device& device, Device& peer) {
    Way& way = device.ways.at(peer.index);
    if (way.opened == way.known || now_ < way.noticed) {
        return;
    }
    way.known = way.opened;
    if (way.opened != 0) {
        device.machine->OnPeerUp(peer.id, now_);
    } else {
        device.machine->OnPeerDown(peer.id, now_);
    }
}

void SimulatedWorld::Deliver(Device& from, Device& to) {
    Way& way = from.ways.at(to.index);
    const Way& back = to.ways.at(from.index);
    if (back.opened == 0 || back.known != back.opened) {
        return;
    }
    while (!way.desk.empty() && way.desk.front().due <= now_) {
        const Packet packet = way.desk.front();
        way.desk.pop_front();
        Hand(from, to, packet);
    }
    for (size_t index = 0; index < way.motion.size();) {
        if (way.motion[index].due > now_) {
            ++index;
            continue;
        }
        const Packet packet = way.motion[index];
        way.motion[index] = way.motion.back();  // their order does not matter
        way.motion.pop_back();
        Hand(from, to, packet);
    }
}

void SimulatedWorld::Hand(Device& from, Device& to, const Packet& packet) {
    const std::optional<Message> message = Read(packet.bytes);
    Expect(message && Write(*message) == packet.bytes, from, "what is sent can be read");
    if (message) {
        ReckonArrival(from, to, *message);
        to.machine->OnMessage(from.id, *message, now_);
    }
}

bool SimulatedWorld::Send(Device& from, const std::string& peer, const Message& message) {
    Way& way = from.ways.at(Named(peer).index);
    if (way.opened == 0 || way.known != way.opened || way.desk.size() > QUEUE || way.motion.size() > QUEUE) {
        return false;
    }
    Reckon(from, message);
    if (!IsLatest(message)) {
        const TimePoint due = In(Some(60));
        way.desk.push_back({way.desk.empty() ? due : std::max(due, way.desk.back().due), Write(message)});
    } else if (Roll(100) >= loss_) {
        way.motion.push_back({In(Some(60)), Write(message)});
    }
    return true;
}

void SimulatedWorld::Reckon(Device& device, const Message& message) {
    Reckoning& reckoning = device.reckoning;
    if (const auto* enter = std::get_if<Enter>(&message)) {
        ReckonEnter(device, *enter);
    } else if (const auto* entered = std::get_if<Entered>(&message)) {
        reckoning.hosted = entered->visit;
        reckoning.guest = CentreOf(device.desktop.At());
        reckoning.taken = {};
    } else if (const Total* total = TotalOf(message, reckoning.entered); total != nullptr && device.IsOut()) {
        Expect(std::abs(static_cast<double>(total->x) - reckoning.x * PIXEL) <= 1 &&
                std::abs(static_cast<double>(total->y) - reckoning.y * PIXEL) <= 1,
            device, "a total is the sum of the motions");
    }
}

void SimulatedWorld::ReckonEnter(Device& device, const Enter& enter) {
    Reckoning& reckoning = device.reckoning;
    if (reckoning.capture != device.desktop.captures) {
        const std::set<KeyCode> held = device.desktop.keys;
        reckoning = {enter.visit, device.desktop.captures, 0, 0, held, {}, now_, held, reckoning.hosted,
            reckoning.guest, reckoning.taken};
    }
    reckoning.entered = enter.visit;
    reckoning.changed = now_;
    for (const KeyCode code : std::exchange(reckoning.along, {})) {
        (IsModifier(code) ? reckoning.along : reckoning.behind).insert(code);
    }
}

// Before the machine gets it.
void SimulatedWorld::ReckonArrival(const Device& from, Device& device, const Message& message) {
    Reckoning& reckoning = device.reckoning;
    if (const auto* left = std::get_if<Left>(&message);
        left != nullptr && left->visit == reckoning.entered && device.IsOut() && device.machine->Peer() == from.id) {
        reckoning.x -= static_cast<double>(left->total.x) / PIXEL;
        reckoning.y -= static_cast<double>(left->total.y) / PIXEL;
    }
    const Total* total = TotalOf(message, reckoning.hosted);
    if (device.IsHost() && device.machine->Peer() == from.id && total != nullptr &&
        total->number > reckoning.taken.number) {
        reckoning.guest = Desk(device.desktop.screens)
                              .Moved(reckoning.guest, total->x - reckoning.taken.x, total->y - reckoning.taken.y);
        reckoning.taken = *total;
    }
}

void SimulatedWorld::ReckonKey(Device& device, const KeyChange& key) {
    Reckoning& reckoning = device.reckoning;
    key.isDown ? (void)reckoning.noted.insert(key.code) : (void)reckoning.noted.erase(key.code);
    if (!device.IsOut()) {
        return;
    }
    reckoning.changed = now_;
    if (reckoning.behind.count(key.code) != 0) {
        key.isDown ? 0 : reckoning.behind.erase(key.code);
    } else {
        key.isDown ? (void)reckoning.along.insert(key.code) : (void)reckoning.along.erase(key.code);
    }
}

void SimulatedWorld::Act() {
    active_ = OneIn(3000) ? Any().index : active_;
    if (OneIn(40)) {
        driftX_ = Roll(61) - 30.0;
        driftY_ = Roll(41) - 20.0;
    }
    Device& device = OneIn(10) ? Any() : *devices_[active_];
    const uint32_t what = Roll(100);
    if (what < 70) {
        Do(device, device.desktop.Move(driftX_ + Roll(1000) / 100.0 - 5, driftY_ + Roll(1000) / 100.0 - 5));
    } else if (what < 85) {
        PressSomething(device);
    } else if (what < 90) {
        Do(device, Scroll{0, static_cast<int32_t>(Roll(240)) - 120});
    } else if (what < 95) {
        const Button button = OneIn(2) ? 1 : 3;
        const bool isDown = device.desktop.buttons.count(button) == 0 && OneIn(4);
        isDown ? (void)device.desktop.buttons.insert(button) : (void)device.desktop.buttons.erase(button);
        Do(device, ButtonChange{button, isDown});
    }
}

// Seldom more than two keys at once, but now and then those that bring the pointer home.
void SimulatedWorld::PressSomething(Device& device) {
    std::set<KeyCode>& keys = device.desktop.keys;
    const KeyCode code = KEYS.at(Roll(KEYS.size()));
    const bool isDown = keys.count(code) == 0 && (keys.size() < 2 || OneIn(8));
    if (isDown || keys.count(code) != 0) {
        isDown ? (void)keys.insert(code) : (void)keys.erase(code);
        Do(device, KeyChange{code, isDown});
    }
}

void SimulatedWorld::Do(Device& device, const Input& input) {
    if (Runs(device)) {
        Tell(device, input);
    } else if (device.machine) {
        device.waiting.push_back(input);
    }
}

void SimulatedWorld::Tell(Device& device, const Input& input) {
    CrossingMachine& machine = *device.machine;
    if (const auto* motion = std::get_if<Motion>(&input)) {
        device.reckoning.x += motion->dx;
        device.reckoning.y += motion->dy;
        if (motion->pointer != PixelOf(device.reckoning.guest)) {
            device.reckoning.guest = CentreOf(motion->pointer);
        }
        machine.OnMotion(*motion, now_);
    } else if (const auto* key = std::get_if<KeyChange>(&input)) {
        ReckonKey(device, *key);
        machine.OnKey(*key, now_);
        const bool isHome = machine.GetState() == CrossingMachine::State::HOME;
        Expect(!key->isDown || !IsWithin(std::set{ESCAPE, CTRL, ALT}, device.reckoning.noted) || isHome, device,
            "the keys bring the pointer home");
    } else if (const auto* button = std::get_if<ButtonChange>(&input)) {
        machine.OnButton(*button, now_);
    } else {
        machine.OnScroll(std::get<Scroll>(input), now_);
    }
}

void SimulatedWorld::Disturb(Device& device, Device& peer) {
    switch (Roll(10)) {
    case 0:
        SetLink(device, peer, OneIn(2));
        break;
    case 1:
        DisturbProcess(device);
        break;
    case 2:
        SetLocked(device, OneIn(3));
        break;
    case 3:
        SetScreens(device, LAYOUTS.at(Roll(LAYOUTS.size())));
        break;
    case 4:
        Place(OneIn(2));
        break;
    case 5:
        loss_ = Roll(30);
        device.desktop.refusal = OneIn(4) ? "a window fills the screen" : "";
        break;
    case 6:
        GoHome(device);
        break;
    case 7:
        OpenLinks();
        break;
    default:
        DisturbProcess(device);
    }
}

// Rather one that has a visit.
SimulatedWorld::Device& SimulatedWorld::AnyBusy() {
    Device& device = Any();
    return device.IsOut() || device.IsHost() ? device : Any();
}

void SimulatedWorld::DisturbProcess(Device& device) {
    const uint32_t what = Roll(4);
    if (!device.machine) {
        Start(device);
    } else if (what == 0) {
        device.stoppedUntil = In(OneIn(2) ? Some(1000) : 20 * Some(1000));
    } else if (what == 1 && Runs(device)) {
        device.machine->Stop(Reason::SWITCHED_OFF, now_);
        Expect(!device.desktop.isCaptured && !device.desktop.HasPressed(), device, "an end leaves nothing behind");
        Kill(device);
    } else if (what == 2) {
        Kill(device);
    }
}

void SimulatedWorld::GoHome(Device& device) {
    if (Runs(device)) {
        device.machine->Return(now_);
        Expect(device.machine->GetState() == CrossingMachine::State::HOME, device, "return brings the pointer home");
    }
}

void SimulatedWorld::Start(Device& device) {
    device.machine = std::make_unique<CrossingMachine>(device.id, device.desktop, device, device);
    device.reckoning = {};
    device.astray = Millis(0);
    device.stuck.clear();
    SetRules(device, false);
    device.machine->SetPlacements(placements_.empty() ? std::vector<Placement>() : placements_[device.index]);
    device.machine->OnScreens(device.desktop.screens, now_);
    device.machine->OnLocked(device.isLocked, now_);
    for (const auto& peer : devices_) {
        SetLink(device, *peer, true);
    }
}

void SimulatedWorld::Kill(Device& device) {
    for (const auto& peer : devices_) {
        SetLink(device, *peer, false);
        device.ways.at(peer->index).known = 0;
    }
    device.machine.reset();
    device.waiting.clear();
    device.desktop.Forget();
    device.desktop.locks = device.ownLocks;  // the display system's part
}

void SimulatedWorld::SetLink(Device& one, Device& other, bool isOpen) {
    if (one.index == other.index || (isOpen && (!one.machine || !other.machine))) {
        return;
    }
    const int opened = isOpen ? ++openings_ : 0;
    for (Way* way : {&one.ways.at(other.index), &other.ways.at(one.index)}) {
        way->opened = opened;
        way->noticed = In(Some(300));
        way->desk.clear();
        way->motion.clear();
    }
}

void SimulatedWorld::SetScreens(Device& device, std::vector<Screen> screens) {
    if (device.machine && !Runs(device)) {
        return;
    }
    const Desk desk(screens);
    device.desktop.screens = std::move(screens);
    if (!desk.Contains(device.desktop.At())) {
        device.desktop.position = CentreOf(desk.Nearest(device.desktop.At()));
    }
    if (!desk.Contains(PixelOf(device.reckoning.guest))) {
        device.reckoning.guest = CentreOf(desk.Nearest(PixelOf(device.reckoning.guest)));
    }
    if (device.machine) {
        device.machine->OnScreens(device.desktop.screens, now_);
    }
}

void SimulatedWorld::SetLocked(Device& device, bool isLocked) {
    if (device.machine && !Runs(device)) {
        return;
    }
    device.isLocked = isLocked;
    if (device.machine) {
        device.machine->OnLocked(isLocked, now_);
    }
    for (const auto& peer : devices_) {
        if (peer->index != device.index && Runs(*peer) && (!isLocked || OneIn(2))) {
            peer->machine->OnPeerLocked(device.id, isLocked, now_);
        }
    }
}

// In a row from left to right, or some other way round.
void SimulatedWorld::Place(bool asUsual) {
    placements_.assign(devices_.size(), {});
    for (size_t index = 0; index + (asUsual ? 1 : 0) < devices_.size(); ++index) {
        Device& owner = *devices_[index];
        Device& peer = *devices_[(index + 1) % devices_.size()];
        Placement placement{peer.id, Side::RIGHT, "", {}, "", {}};
        if (!asUsual) {
            placement.side = static_cast<Side>(Roll(4));
            placement.display = OneIn(2) ? "two" : "";
            placement.peerPart = {static_cast<double>(Roll(50)), 100.0 - Roll(50)};
        }
        placements_[owner.index].push_back(placement);
        placements_[peer.index].push_back(Mirror(placement, owner.id));
    }
    for (const auto& device : devices_) {
        if (device->machine) {
            device->machine->SetPlacements(placements_[device->index]);
        }
    }
}

void SimulatedWorld::SetRules(Device& device, bool asUsual) {
    CrossingRules rules;
    rules.homeKeys = {ESCAPE, CTRL, ALT};
    if (!asUsual) {
        rules.push = OneIn(3) ? 30 : 0;
        rules.corner = OneIn(3) ? 10 : 0;
        rules.drags = OneIn(2);
        rules.modifier = OneIn(5) ? std::set{CTRL} : std::set<KeyCode>();
    }
    device.machine->SetRules(rules);
}

void SimulatedWorld::CrossAgain() {
    isCalm_ = true;
    Mend();
    Rest(800);
    for (const auto& device : devices_) {
        GoHome(*device);
    }
    Rest(800);
    for (const auto& device : devices_) {
        CrossFrom(*device, device->index + 1 < devices_.size() ? 20 : -20);
    }
    for (const auto& device : devices_) {
        SetRules(*device, false);
    }
    isCalm_ = false;
}

void SimulatedWorld::Mend() {
    loss_ = 5;
    for (const auto& device : devices_) {
        device->stoppedUntil = now_;
        device->desktop.refusal.clear();
        if (!device->machine) {
            Start(*device);
        }
    }
    for (const auto& device : devices_) {
        Serve(*device);
        SetLocked(*device, false);
        SetScreens(*device, ONE_SCREEN);
        SetRules(*device, true);
        LetGo(*device);
    }
    Place(true);
    OpenLinks();
}

void SimulatedWorld::OpenLinks() {
    for (size_t index = 0; index < devices_.size(); ++index) {
        Device& device = *devices_[index];
        Device& next = *devices_[(index + 1) % devices_.size()];
        if (device.ways.at(next.index).opened == 0) {
            SetLink(device, next, true);
        }
    }
}

void SimulatedWorld::LetGo(Device& device) {
    for (const KeyCode code : std::exchange(device.desktop.keys, {})) {
        Do(device, KeyChange{code, false});
    }
    for (const Button button : std::exchange(device.desktop.buttons, {})) {
        Do(device, ButtonChange{button, false});
    }
}

void SimulatedWorld::Rest(int steps) {
    for (int step = 0; step < steps; ++step) {
        Step();
    }
}

void SimulatedWorld::CrossFrom(Device& device, double dx) {
    device.desktop.position = {200 * PIXEL, 150 * PIXEL};
    for (int step = 0; step < 300 && device.machine->GetState() != CrossingMachine::State::AWAY; ++step) {
        Do(device, device.desktop.Move(device.IsOut() ? 0 : dx, 0));
        Step();
    }
    Expect(device.machine->GetState() == CrossingMachine::State::AWAY, device, "the pointer crosses again");
    device.desktop.keys.insert(LETTER);
    Do(device, KeyChange{LETTER, true});
    Rest(100);
    const bool isPressed = device.IsOut() && Named(device.machine->Peer()).desktop.pressedKeys.count(LETTER) == 1;
    Expect(isPressed, device, "a key goes where the pointer is");
    LetGo(device);
    Rest(600);
    Expect(device.IsOut(), device, "a visit lasts while nothing happens");
    GoHome(device);
    Rest(100);
}

void SimulatedWorld::Check() {
    for (const auto& device : devices_) {
        if (Runs(*device) && device->waiting.empty()) {
            CheckDevice(*device);
        }
    }
}

void SimulatedWorld::CheckDevice(Device& device) {
    const SimulatedDesktop& desktop = device.desktop;
    const bool isHost = device.IsHost();
    Expect(desktop.fault.empty(), device, "not " + desktop.fault);
    Expect(desktop.isCaptured == device.IsOut(), device, "captured exactly while the pointer is out");
    Expect(isHost || (!desktop.HasPressed() && desktop.locks == device.ownLocks), device,
        "nothing pressed, and locks as before, without a guest");
    Expect(!isHost || desktop.At() == PixelOf(device.reckoning.guest), device, "a guest is where the sum says");
    Expect(!isHost || !desktop.screens.empty(), device, "no guest without a screen");
    Expect(!device.isLocked || device.machine->GetState() == CrossingMachine::State::HOME, device, "locked is at home");

    const bool fits = Fits(device);
    const Visit visit = isHost ? device.reckoning.hosted : device.reckoning.entered;
    const bool isSame = std::exchange(device.visit, visit) == visit;
    device.astray = fits || !isSame ? Millis(0) : device.astray + passed_;
    Expect(device.astray <= 1000ms, device, "the pointer is at exactly one device");
    if (!isHost) {
        device.stuck.clear();
        return;
    }
    const Device& owner = Named(device.machine->Peer());
    CheckHeld(device, owner);
    const bool isSettled = fits && owner.waiting.empty() && now_ - owner.reckoning.changed > 1000ms;
    Expect(!isSettled || desktop.pressedKeys == owner.reckoning.along, device, "what is held is held there");
}

void SimulatedWorld::CheckHeld(Device& device, const Device& owner) {
    std::map<int, Millis> stuck;  // buttons are counted below 0
    for (const KeyCode code : device.desktop.pressedKeys) {
        if (owner.desktop.keys.count(code) == 0) {
            stuck[code] = device.stuck[code] + passed_;
        }
    }
    for (const Button button : device.desktop.pressedButtons) {
        if (owner.desktop.buttons.count(button) == 0) {
            stuck[-button] = device.stuck[-button] + passed_;
        }
    }
    device.stuck = stuck;
    for (const auto& [code, time] : stuck) {
        Expect(time <= 1000ms, device, "nothing is held that nobody holds");
    }
}

bool SimulatedWorld::Fits(const Device& device) const {
    if (device.machine->GetState() == CrossingMachine::State::HOME) {
        return true;
    }
    const Device& peer = Named(device.machine->Peer());
    if (!Runs(peer) || peer.machine->Peer() != device.id) {
        return false;
    }
    return device.IsHost() ? peer.IsOut() && peer.reckoning.entered == device.reckoning.hosted
                           : peer.IsHost() && peer.reckoning.hosted == device.reckoning.entered;
}

void SimulatedWorld::Expect(bool holds, const Device& device, const std::string& rule) {
    if (!holds && broken.empty()) {
        broken = "device " + device.id + ": " + rule;
    }
}

}  // namespace ZYNE::Companion
