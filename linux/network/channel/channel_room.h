// The channels between the apps of this device and those of others: who waits for whom, and which are open.
//
// A channel is a meeting: both apps ask for it by the same name, and neither listens. Each device offers the other what
// its app waits for; see channel.proto.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "linux/base/event_loop.h"
#include "linux/base/unique_fd.h"
#include "linux/network/channel/app_channel.h"
#include "linux/network/channel/channel_kind.h"
#include "linux/network/channel/latest_channel.h"
#include "linux/network/presence/peer_shares.h"
#include "linux/network/presence/peer_table.h"

namespace ZYNE::Linux {

// Whether an app of this device has a channel.
enum class ChannelDeclaration { DECLARED, NO_APP, NO_CHANNEL };

// Why a channel does not open.
enum class ChannelRefusal {
    NONE,
    NO_APP,           // the app is not installed here, or disabled
    NO_CHANNEL,       // it does not declare the channel
    OFFLINE,          // the peer is not there, or has gone meanwhile
    TOO_MANY,         // the app has, and waits for, as many as it may
    PEER_NO_APP,      // as above, on the peer
    PEER_NO_CHANNEL,  //
    PEER_TOO_MANY,    // the peer has too many offers of this device
    NOBODY,           // the app has not asked for it on the peer in time
    STOPPED,          // this device leaves the network
    FAILED            // no sockets
};

struct ChannelWish {
    ChannelName name;
    std::string udid;                // of the peer
    std::chrono::milliseconds time;  // how long to wait
};

// Gets the app's end of the channel, or why there is none. On the loop's thread: quick. Once, unless the wish was
// withdrawn.
using ChannelAnswer = std::function<void(ChannelRefusal refusal, UniqueFd descriptor)>;

// The loop's thread, unless said otherwise; made by std::make_shared.
class ChannelRoom final : private AppChannelOwner, public std::enable_shared_from_this<ChannelRoom> {
public:
    // Of one app, open and waited for.
    static constexpr size_t MAX_OF_APP = 32;
    // Offers of one peer that nobody has answered yet.
    static constexpr size_t MAX_OFFERS = 64;

    struct Host {
        std::shared_ptr<EventLoop> loop;
        std::string udid;  // of this device
        std::function<ChannelDeclaration(const std::string& app, const std::string& name)> declares;
        std::shared_ptr<const PeerTable> peers;
        std::function<void(const std::string& udid)> onExcess;  // the peer is over its share
    };

    explicit ChannelRoom(Host host) : host_(std::move(host)) {}

    // Any thread. Opens a channel when the peer's app wants it as well. The wish's number.
    uint32_t Open(ChannelWish wish, ChannelAnswer answer);
    // Any thread. Nobody waits for the answer any more; does nothing when it was given.
    void Withdraw(uint32_t number);

    // False when it is no message of the stream.
    bool OnMessage(const LinkPtr& link, Stream stream, std::string_view message);
    void OnRoom(const LinkPtr& link);
    void OnDown(const LinkPtr& link);

    // Ends all, and lets nothing in any more.
    void Stop();

private:
    struct Waiting {
        ChannelName name;
        LinkPtr link;
        ChannelAnswer answer;
        LatestChannel::OwnDatagrams datagrams;
        EventLoop::Source limit;
    };
    struct Offer {
        ChannelName name;
        LatestChannel::PeersDatagrams datagrams;
    };

    void Begin(uint32_t number, ChannelWish wish, ChannelAnswer answer);
    ChannelRefusal Judge(const ChannelWish& wish, const LinkPtr& link) const;
    size_t CountOf(const std::string& app) const;
    void SendOffer(uint32_t number, const Waiting& waiting) const;
    void FindOfferFor(uint32_t number);
    void Refuse(uint32_t number, ChannelRefusal refusal);
    void Forget(uint32_t number);

    bool OnControl(const LinkPtr& link, const Wire::ChannelControl& control);
    bool OnOffer(const LinkPtr& link, const Wire::ChannelOffer& wire);
    void RefuseOffer(const LinkPtr& link, uint32_t number, Wire::ChannelRefusal::Reason reason);
    bool OnMatch(const LinkPtr& link, const Wire::ChannelMatch& match);
    void OnRefusal(const LinkPtr& link, const Wire::ChannelRefusal& refusal);
    void OnWithdrawal(const LinkPtr& link, uint32_t number);
    bool OnPart(const LinkPtr& link, Stream stream, std::string_view message);

    void Match(uint32_t number, uint32_t peersNumber, const Offer& offer);
    void GoUp(uint32_t number, uint32_t peersNumber, const LatestChannel::PeersDatagrams& datagrams);
    std::shared_ptr<AppChannel> Make(AppChannel::Ends ends, LatestChannel::OwnDatagrams own,
        const LatestChannel::PeersDatagrams& peers, UniqueFd& app) const;
    std::shared_ptr<AppChannel> Find(const LinkPtr& link, uint32_t number) const;
    bool IsMatcher(const LinkPtr& link) const { return host_.udid < link->Udid(); }

    void OnChannelEnd(const AppChannel& channel) override;
    void OnChannelFault(const AppChannel& channel, const std::string& fault) override;

    const Host host_;
    std::atomic<uint32_t> lastNumber_{0};

    // The loop's thread alone.
    bool isStopped_ = false;
    std::map<uint32_t, Waiting> waiting_;                       // by this side's number, as are the next
    std::map<uint32_t, std::shared_ptr<AppChannel>> channels_;  //
    std::map<LinkPtr, std::map<uint32_t, Offer>> offers_;       // that wait here, by the peer's number
};

}  // namespace ZYNE::Linux
