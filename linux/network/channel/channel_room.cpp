#include "linux/network/channel/channel_room.h"

#include <algorithm>
#include <exception>
#include <utility>
#include <vector>

#include <openssl/rand.h>

#include "linux/account/openssl.h"
#include "linux/network/channel/stream_channel.h"
#include "linux/network/presence/fabric_log.h"

namespace ZYNE::Linux {
namespace {

using PeersDatagrams = LatestChannel::PeersDatagrams;
using OwnDatagrams = LatestChannel::OwnDatagrams;

OwnDatagrams MakeDatagrams(EventLoop& loop, const Link& link) {
    OwnDatagrams datagrams;
    Must(RAND_bytes(datagrams.key.data(), static_cast<int>(datagrams.key.size())), "no random numbers");
    try {
        datagrams.socket = std::make_unique<DatagramSocket>(loop, link.Channel()->LocalEnd());
    } catch (const std::exception& error) {
        FabricPrint(LogLevel::WARN, "a channel goes without datagrams: %{public}s", error.what());
    }
    return datagrams;
}

void Write(const OwnDatagrams& datagrams, auto& wire) {
    if (datagrams.socket) {
        wire.mutable_datagrams()->set_port(datagrams.socket->Port());
        wire.mutable_datagrams()->set_key(datagrams.key.data(), datagrams.key.size());
    }
}

// Without datagrams its key is one that nobody has.
PeersDatagrams Read(const auto& wire) {
    PeersDatagrams datagrams;
    if (wire.has_datagrams()) {
        datagrams.port = static_cast<uint16_t>(wire.datagrams().port());
        std::ranges::copy(wire.datagrams().key(), datagrams.key.begin());
    } else {
        Must(RAND_bytes(datagrams.key.data(), static_cast<int>(datagrams.key.size())), "no random numbers");
    }
    return datagrams;
}

ChannelRefusal ToRefusal(Wire::ChannelRefusal::Reason reason) {
    switch (reason) {
    case Wire::ChannelRefusal::NO_APP:
        return ChannelRefusal::PEER_NO_APP;
    case Wire::ChannelRefusal::NO_CHANNEL:
        return ChannelRefusal::PEER_NO_CHANNEL;
    default:
        return ChannelRefusal::PEER_TOO_MANY;
    }
}

}  // namespace

uint32_t ChannelRoom::Open(ChannelWish wish, ChannelAnswer answer) {
    const uint32_t number = ++lastNumber_;
    host_.loop->Post([room = shared_from_this(), number, wish = std::move(wish), answer = std::move(answer)] {
        room->Begin(number, wish, answer);
    });
    return number;
}

void ChannelRoom::Withdraw(uint32_t number) {
    host_.loop->Post([room = shared_from_this(), number] {
        if (room->waiting_.contains(number)) {
            room->Forget(number);
        }
    });
}

void ChannelRoom::Begin(uint32_t number, ChannelWish wish, ChannelAnswer answer) {
    const PeerPtr peer = host_.peers->FindByUdid(wish.udid);
    const LinkPtr link = peer ? peer->link : nullptr;
    const ChannelRefusal refusal = Judge(wish, link);
    if (refusal != ChannelRefusal::NONE) {
        answer(refusal, UniqueFd());
        return;
    }
    Waiting& waiting = waiting_[number];
    waiting.name = std::move(wish.name);
    waiting.link = link;
    waiting.answer = std::move(answer);
    if (waiting.name.kind == ChannelKind::LATEST) {
        waiting.datagrams = MakeDatagrams(*host_.loop, *link);
    }
    waiting.limit = host_.loop->After(wish.time, [this, number] { Refuse(number, ChannelRefusal::NOBODY); });
    SendOffer(number, waiting);
    FindOfferFor(number);
}

ChannelRefusal ChannelRoom::Judge(const ChannelWish& wish, const LinkPtr& link) const {
    if (isStopped_) {
        return ChannelRefusal::STOPPED;
    }
    if (wish.name.app.size() > MAX_NAME_BYTES) {
        return ChannelRefusal::NO_APP;
    }
    switch (host_.declares(wish.name.app, wish.name.name)) {
    case ChannelDeclaration::NO_APP:
        return ChannelRefusal::NO_APP;
    case ChannelDeclaration::NO_CHANNEL:
        return ChannelRefusal::NO_CHANNEL;
    case ChannelDeclaration::DECLARED:
        break;
    }
    if (!link) {
        return ChannelRefusal::OFFLINE;
    }
    return CountOf(wish.name.app) < MAX_OF_APP ? ChannelRefusal::NONE : ChannelRefusal::TOO_MANY;
}

size_t ChannelRoom::CountOf(const std::string& app) const {
    const auto isOfApp = [&](const auto& each) {
        return each.second.name.app == app;
    };
    const auto isOpenOfApp = [&](const auto& each) {
        return each.second->Name().app == app;
    };
    return static_cast<size_t>(
        std::ranges::count_if(waiting_, isOfApp) + std::ranges::count_if(channels_, isOpenOfApp));
}

void ChannelRoom::SendOffer(uint32_t number, const Waiting& waiting) const {
    Wire::ChannelControl control;
    Wire::ChannelOffer& offer = *control.mutable_offer();
    offer.set_number(number);
    offer.set_app(waiting.name.app);
    offer.set_name(waiting.name.name);
    offer.set_kind(static_cast<uint32_t>(waiting.name.kind));
    Write(waiting.datagrams, offer);
    waiting.link->Send(Stream::CHANNEL, WriteChannelControl(control));
}

// The one that has waited for longest.
void ChannelRoom::FindOfferFor(uint32_t number) {
    const Waiting& waiting = waiting_.at(number);
    const auto offers = offers_.find(waiting.link);
    if (offers == offers_.end()) {
        return;
    }
    const auto found =
        std::ranges::find_if(offers->second, [&](const auto& offer) { return offer.second.name == waiting.name; });
    if (found != offers->second.end()) {
        const auto taken = offers->second.extract(found);
        Match(number, taken.key(), taken.mapped());
    }
}

void ChannelRoom::Refuse(uint32_t number, ChannelRefusal refusal) {
    const ChannelAnswer answer = waiting_.at(number).answer;
    Forget(number);
    answer(refusal, UniqueFd());
}

void ChannelRoom::Forget(uint32_t number) {
    const auto gone = waiting_.extract(number);
    Wire::ChannelControl control;
    control.mutable_withdrawal()->set_number(number);
    gone.mapped().link->Send(Stream::CHANNEL, WriteChannelControl(control));
}

bool ChannelRoom::OnMessage(const LinkPtr& link, Stream stream, std::string_view message) {
    if (!IsChannelControl(message)) {
        return OnPart(link, stream, message);
    }
    const auto control = stream == Stream::CHANNEL ? ReadChannelControl(message) : std::nullopt;
    return control && OnControl(link, *control);
}

// What is said of a channel that has ended meanwhile is no fault.
bool ChannelRoom::OnPart(const LinkPtr& link, Stream stream, std::string_view message) {
    const auto part = ReadChannelPart(message);
    if (!part) {
        return false;
    }
    const auto channel = Find(link, part->channel);
    return !channel || (stream == StreamOf(channel->Name().kind) && channel->OnPart(*part));
}

bool ChannelRoom::OnControl(const LinkPtr& link, const Wire::ChannelControl& control) {
    switch (control.message_case()) {
    case Wire::ChannelControl::kOffer:
        return OnOffer(link, control.offer());
    case Wire::ChannelControl::kMatch:
        return OnMatch(link, control.match());
    case Wire::ChannelControl::kRefusal:
        OnRefusal(link, control.refusal());
        return true;
    case Wire::ChannelControl::kCredit: {
        const auto channel = Find(link, control.credit().number());
        return !channel || channel->OnCredit(control.credit().bytes());
    }
    case Wire::ChannelControl::kWithdrawal:
        OnWithdrawal(link, control.withdrawal().number());
        return true;
    default:
        return false;
    }
}

bool ChannelRoom::OnOffer(const LinkPtr& link, const Wire::ChannelOffer& wire) {
    const Offer offer{{wire.app(), wire.name(), *ChannelKindOf(wire.kind())}, Read(wire)};
    const ChannelDeclaration declaration = host_.declares(offer.name.app, offer.name.name);
    if (declaration != ChannelDeclaration::DECLARED) {
        RefuseOffer(link, wire.number(),
            declaration == ChannelDeclaration::NO_APP ? Wire::ChannelRefusal::NO_APP
                                                      : Wire::ChannelRefusal::NO_CHANNEL);
        return true;
    }
    if (!IsMatcher(link)) {
        return true;  // the other side will say when it has found a pair
    }
    const auto found = std::ranges::find_if(
        waiting_, [&](const auto& each) { return each.second.link == link && each.second.name == offer.name; });
    if (found != waiting_.end()) {
        Match(found->first, wire.number(), offer);
        return true;
    }
    auto& offers = offers_[link];
    if (offers.size() >= MAX_OFFERS) {
        RefuseOffer(link, wire.number(), Wire::ChannelRefusal::TOO_MANY);
        return true;
    }
    return offers.emplace(wire.number(), offer).second;
}

void ChannelRoom::RefuseOffer(const LinkPtr& link, uint32_t number, Wire::ChannelRefusal::Reason reason) {
    Wire::ChannelControl control;
    control.mutable_refusal()->set_number(number);
    control.mutable_refusal()->set_reason(reason);
    link->Send(Stream::CHANNEL, WriteChannelControl(control));
    host_.onExcess(link->Udid());
}

void ChannelRoom::Match(uint32_t number, uint32_t peersNumber, const Offer& offer) {
    const Waiting& waiting = waiting_.at(number);
    Wire::ChannelControl control;
    Wire::ChannelMatch& match = *control.mutable_match();
    match.set_number(peersNumber);
    match.set_own(number);
    Write(waiting.datagrams, match);
    waiting.link->Send(Stream::CHANNEL, WriteChannelControl(control));
    GoUp(number, peersNumber, offer.datagrams);
}

bool ChannelRoom::OnMatch(const LinkPtr& link, const Wire::ChannelMatch& match) {
    if (IsMatcher(link)) {
        return false;
    }
    // Who has withdrawn meanwhile has said so, and that ends the channel over there.
    const auto waiting = waiting_.find(match.number());
    if (waiting != waiting_.end() && waiting->second.link == link) {
        GoUp(match.number(), match.own(), Read(match));
    }
    return true;
}

void ChannelRoom::GoUp(uint32_t number, uint32_t peersNumber, const PeersDatagrams& datagrams) {
    auto taken = waiting_.extract(number);
    Waiting& waiting = taken.mapped();
    UniqueFd app;
    try {
        const auto channel = Make({*host_.loop, *this, waiting.link, waiting.name, number, peersNumber},
            std::move(waiting.datagrams), datagrams, app);
        channel->Start();
        channels_.emplace(number, channel);
    } catch (const std::exception& error) {
        FabricPrint(LogLevel::WARN, "a channel does not open: %{public}s", error.what());
        SendChannelEnd(*waiting.link, StreamOf(waiting.name.kind), peersNumber);
        waiting.answer(ChannelRefusal::FAILED, UniqueFd());
        return;
    }
    waiting.answer(ChannelRefusal::NONE, std::move(app));
}

std::shared_ptr<AppChannel> ChannelRoom::Make(
    AppChannel::Ends ends, OwnDatagrams own, const PeersDatagrams& peers, UniqueFd& app) const {
    if (ends.name.kind == ChannelKind::LATEST) {
        return std::make_shared<LatestChannel>(std::move(ends), std::move(own), peers, app);
    }
    return std::make_shared<StreamChannel>(std::move(ends), app);
}

void ChannelRoom::OnRefusal(const LinkPtr& link, const Wire::ChannelRefusal& refusal) {
    const auto waiting = waiting_.find(refusal.number());
    if (waiting != waiting_.end() && waiting->second.link == link) {
        Refuse(refusal.number(), ToRefusal(refusal.reason()));
    }
}

// Of an offer, or of a channel that was opened by it just before.
void ChannelRoom::OnWithdrawal(const LinkPtr& link, uint32_t number) {
    if (const auto offers = offers_.find(link); offers != offers_.end()) {
        offers->second.erase(number);
    }
    const auto channel = std::ranges::find_if(channels_,
        [&](const auto& each) { return each.second->OwnLink() == link && each.second->PeersNumber() == number; });
    if (channel != channels_.end()) {
        const std::shared_ptr<AppChannel> ended = channel->second;
        ended->OnPart({ChannelPart::Type::END, ended->Own(), {}});
    }
}

std::shared_ptr<AppChannel> ChannelRoom::Find(const LinkPtr& link, uint32_t number) const {
    const auto found = channels_.find(number);
    return found != channels_.end() && found->second->OwnLink() == link ? found->second : nullptr;
}

void ChannelRoom::OnRoom(const LinkPtr& link) {
    std::vector<std::shared_ptr<AppChannel>> all;
    for (const auto& [number, channel] : channels_) {
        if (channel->OwnLink() == link) {
            all.push_back(channel);
        }
    }
    for (const auto& channel : all) {
        channel->OnLinkRoom();
    }
}

void ChannelRoom::OnDown(const LinkPtr& link) {
    offers_.erase(link);
    std::erase_if(channels_, [&](const auto& each) {
        const bool isGone = each.second->OwnLink() == link;
        if (isGone) {
            each.second->Break();
        }
        return isGone;
    });
    std::vector<uint32_t> refused;
    for (const auto& [number, waiting] : waiting_) {
        if (waiting.link == link) {
            refused.push_back(number);
        }
    }
    for (const uint32_t number : refused) {
        Refuse(number, ChannelRefusal::OFFLINE);
    }
}

void ChannelRoom::Stop() {
    isStopped_ = true;
    offers_.clear();
    for (const auto& [number, channel] : std::exchange(channels_, {})) {
        channel->Break();
    }
    while (!waiting_.empty()) {
        Refuse(waiting_.begin()->first, ChannelRefusal::STOPPED);
    }
}

void ChannelRoom::OnChannelEnd(const AppChannel& channel) {
    channels_.erase(channel.Own());
}

void ChannelRoom::OnChannelFault(const AppChannel& channel, const std::string& fault) {
    FabricPrint(LogLevel::WARN, "a channel of %{public}s with device %{public}s is ended: %{public}s",
        channel.Name().app, Anonymous(channel.OwnLink()->Udid()), fault);
}

}  // namespace ZYNE::Linux
