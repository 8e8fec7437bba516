// Decides where and when connections are tried.
//
// It knows places: those that the configuration lists, and those where a device was met or was heard to be. A place
// whose device has a link is left alone. Any other is tried at once, and again with pauses that grow to a few seconds,
// for as long as it is listed, or for ten minutes after it was heard of last.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "linux/network/discovery/network_interface.h"
#include "linux/network/discovery/peer_address.h"
#include "linux/network/link/links.h"

namespace ZYNE::Linux {

// The loop's thread only.
class Dialer {
public:
    // Looks up the addresses of a name; calls back on the loop, with none when there is none. Must not block.
    using Resolver =
        std::function<void(const PeerAddress& peer, std::function<void(std::vector<Endpoint> addresses)> done)>;

    // `own` is this device.
    Dialer(EventLoop& loop, Links& links, const LinkIdentity& own, const std::vector<PeerAddress>& listed,
        Resolver resolve);
    Dialer(const Dialer&) = delete;
    Dialer& operator=(const Dialer&) = delete;

    // Connections are made over these from now on. Every place is tried anew.
    void Follow(const std::vector<NetworkInterface>& interfaces);
    // The network may be another: every place is tried anew.
    void TryAll();

    // A device said that it is there. `networkId` is what it said, and not proved.
    void OnHeard(const std::string& networkId, const Endpoint& where, int interface);
    // A device with a link takes connections there.
    void OnPlace(const std::string& udid, const Endpoint& where);
    void OnDialled(uint64_t dial, const std::string& udid, bool isLink, LinkRefusal refusal);
    // Nothing came of a connection that either side had opened.
    void OnFailed(const std::string& udid, LinkRefusal refusal);
    // The device has, or has no longer, a link.
    void OnUp(const std::string& networkId);
    void OnDown(const std::string& udid, const std::string& networkId);

private:
    using Clock = EventLoop::Clock;
    struct Place {
        uint64_t id = 0;
        PeerAddress listed;  // without a host: a place that was found
        std::vector<Endpoint> addresses;
        int interface = 0;      // over which it was heard; 0 when any will do
        std::string udid;       // of the device that was met there
        std::string networkId;  // of the device that was heard from there
        unsigned attempts = 0;  // since `since`
        bool isTrying = false;
        bool isOurs = false;        // it is this device
        Clock::time_point since{};  // for how long it has been tried in vain
        Clock::time_point next{};
        Clock::time_point heard{};
    };

    Place* Find(uint64_t id);
    Place& FindOrAdd(const Endpoint& where, const std::string& udid, const std::string& networkId);
    bool IsSatisfied(const Place& place) const;
    // Whether nobody has been met there, and it is not listed.
    static bool IsUncertain(const Place& place);
    size_t UncertainTries() const;
    void TrySoon(Place& place, Milliseconds wait);
    void Schedule();
    void Work();
    void Try(Place& place);
    void Resolve(Place& place);
    void Connect(Place& place);
    const NetworkInterface* InterfaceFor(const Place& place, const Endpoint& to) const;
    static Milliseconds Pause(const Place& place, LinkRefusal refusal);

    EventLoop& loop_;
    Links& links_;
    const std::string ownUdid_;
    const std::string ownNetworkId_;
    const Resolver resolve_;
    std::vector<NetworkInterface> interfaces_;
    std::set<std::string> linked_;  // the network ids of the devices that have a link
    std::list<Place> places_;
    uint64_t lastId_ = 0;
    EventLoop::Source timer_;
    const std::shared_ptr<void> alive_ = std::make_shared<int>();  // for what is looked up when this has gone
};

}  // namespace ZYNE::Linux
