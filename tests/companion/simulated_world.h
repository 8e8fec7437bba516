// Devices with persons, links that fail and processes that die, and what must hold whatever happens.
#pragma once

#include <array>
#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <variant>
#include <vector>

#include "companion/core/crossing_machine.h"
#include "tests/companion/simulated_desktop.h"

namespace ZYNE::Companion {

class SimulatedWorld {
public:
    SimulatedWorld(uint64_t seed, size_t devices);

    // Some time passes, and something happens. The first rule that does not hold is kept in broken.
    void Step();
    // Mends everything, and has each pointer cross to a neighbour.
    void CrossAgain();

    std::string broken;
    uint64_t visits = 0;  // that were entered

private:
    using TimePoint = CrossingMachine::TimePoint;
    using Millis = std::chrono::duration<double, std::milli>;
    using Input = std::variant<Motion, KeyChange, ButtonChange, Scroll>;

    struct Packet {
        TimePoint due;
        std::string bytes;
    };
    // One direction between two devices, as its sender knows it.
    struct Way {
        int opened = 0;     // which opening this is; 0 while it is closed
        int known = 0;      // to the machine that sends
        TimePoint noticed;  // when that comes to know
        std::deque<Packet> desk;
        std::vector<Packet> motion;
    };
    // What is held and where the pointer is at a device, and at the peer that it is away at, by its own reckoning.
    struct Reckoning {
        Visit entered = 0;  // by this device's pointer
        int capture = 0;    // the number of that
        double x = 0;       // pixels that it was moved
        double y = 0;
        std::set<KeyCode> along;   // what it holds down there
        std::set<KeyCode> behind;  // what went down elsewhere
        TimePoint changed;         // along, or the visit
        std::set<KeyCode> noted;   // keys that the machine can know of
        Visit hosted = 0;          // of the guest here
        Position guest;
        Total taken;
    };
    struct Device final : Peers, PassageWatch {
        bool Send(const std::string& peer, const Message& message) override {
            return world->Send(*this, peer, message);
        }
        void OnPassage(const Passage& passage) override {
            world->visits += passage.kind == Passage::Kind::ENTERED ? 1 : 0;
        }
        bool IsOut() const;
        bool IsHost() const { return machine && machine->GetState() == CrossingMachine::State::HOST; }

        SimulatedWorld* world = nullptr;
        size_t index = 0;
        std::string id;
        SimulatedDesktop desktop;
        Locks ownLocks;
        bool isLocked = false;
        std::unique_ptr<CrossingMachine> machine;  // none while its process does not run
        TimePoint stoppedUntil;
        std::deque<Input> waiting;  // while stopped
        std::array<Way, 3> ways;
        Reckoning reckoning;
        Visit visit = 0;              // in the last step
        Millis astray{0};             // how long that does not fit the peer's
        std::map<int, Millis> stuck;  // how long a key or button is pressed here that nobody holds
    };

    void PassTime();
    void Serve(Device& device);
    void Notice(Device& device, Device& peer);
    void Deliver(Device& from, Device& to);
    void Hand(Device& from, Device& to, const Packet& packet);
    bool Send(Device& from, const std::string& peer, const Message& message);
    void Reckon(Device& device, const Message& message);
    void ReckonEnter(Device& device, const Enter& enter);
    void ReckonArrival(const Device& from, Device& device, const Message& message);
    void ReckonKey(Device& device, const KeyChange& key);

    void Act();
    void PressSomething(Device& device);
    void Disturb(Device& device, Device& peer);
    void DisturbProcess(Device& device);
    void GoHome(Device& device);
    void Do(Device& device, const Input& input);
    void Tell(Device& device, const Input& input);
    void Start(Device& device);
    void Kill(Device& device);
    void SetLink(Device& one, Device& other, bool isOpen);
    void OpenLinks();
    void SetScreens(Device& device, std::vector<Screen> screens);
    void SetLocked(Device& device, bool isLocked);
    void Place(bool asUsual);
    void SetRules(Device& device, bool asUsual);
    void Mend();
    void LetGo(Device& device);
    void Rest(int steps);
    void CrossFrom(Device& device, double dx);

    void Check();
    void CheckDevice(Device& device);
    void CheckHeld(Device& device, const Device& owner);
    bool Fits(const Device& device) const;
    void Expect(bool holds, const Device& device, const std::string& rule);

    Device& Named(const std::string& id) { return *devices_.at(static_cast<size_t>(id.front() - 'a')); }
    const Device& Named(const std::string& id) const { return *devices_.at(static_cast<size_t>(id.front() - 'a')); }
    bool Runs(const Device& device) const { return device.machine && now_ >= device.stoppedUntil; }
    uint32_t Roll(uint32_t sides) { return static_cast<uint32_t>(random_() % sides); }
    bool OneIn(uint32_t times) { return Roll(times) == 0; }
    Device& AnyBusy();
    Device& Any() { return *devices_[Roll(static_cast<uint32_t>(devices_.size()))]; }
    Millis Some(uint32_t most) { return Millis(Roll(most)); }
    TimePoint In(Millis time) const { return now_ + std::chrono::duration_cast<TimePoint::duration>(time); }

    std::mt19937_64 random_;
    std::vector<std::unique_ptr<Device>> devices_;
    std::vector<std::vector<Placement>> placements_;
    TimePoint now_{std::chrono::hours(1)};
    Millis passed_{0};    // in the last step, while devices ran
    uint32_t loss_ = 5;   // percent of what goes over "motion"
    double driftX_ = 20;  // where the active person is moving
    double driftY_ = 0;
    size_t active_ = 0;  // the device whose person moves most
    int openings_ = 0;
    bool isCalm_ = false;
};

}  // namespace ZYNE::Companion
