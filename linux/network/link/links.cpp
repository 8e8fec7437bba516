#include "linux/network/link/links.h"

#include <algorithm>
#include <ctime>
#include <utility>

#include "linux/account/udid.h"
#include "linux/network/link/link_messages.h"
#include "linux/network/link/network_log.h"
#include "linux/network/link/run_id.h"
#include "platform/log/printable_text.h"

namespace ZYNE::Linux {
namespace {

using namespace std::chrono_literals;

// One timer for all links.
constexpr auto TICK = 200ms;
// A tick that is later than this says more about this device, and others on its machine, than about silent peers: they
// get their time anew.
constexpr auto LATE_TICK = 400ms;
// Sent with the tick when nothing else was sent for so long: every other tick, on a network that loses much each one.
constexpr auto HEARTBEAT = 350ms;
constexpr auto LOSSY_HEARTBEAT = 150ms;
// A peer that is not heard for so long has gone: two heartbeats may be lost, or one sent again late.
constexpr auto MAX_SILENCE = 1000ms;

constexpr auto GATE_LIMIT = 3s;
constexpr auto GREETING_LIMIT = 5s;
constexpr auto READY_LIMIT = 1s;
// A link that is still heard so long after another run of its device came is not one of an earlier run.
constexpr auto RIVAL_PROOF = 500ms;

// Words and addresses that a peer sends are shown on terminals, and are not trusted.
constexpr size_t MAX_WORDS = 200;

std::string Shown(std::string_view text) {
    std::string shown;
    AppendPrintable(shown, text.substr(0, MAX_WORDS));
    return shown;
}

std::string Bytes(const Wire::LinkMessage& message) {
    return message.SerializeAsString();
}

}  // namespace

Links::Links(EventLoop& loop, LinkIdentity identity, LinksUser& user)
    : loop_(loop), identity_(std::move(identity)), user_(user),
      // Greater than those of earlier runs, unless the clock was set back.
      lastBegin_(static_cast<uint64_t>(std::time(nullptr)) << 20U) {}

void Links::SetFacts(const DeviceFacts& facts) {
    if (facts_ == facts) {
        return;
    }
    facts_ = facts;
    Wire::LinkMessage message;
    *message.mutable_facts() = ToWire(facts_);
    for (const auto& [udid, connection] : held_) {
        if (connection->phase == Phase::UP) {
            connection->channel->Send(Stream::LINK, Bytes(message));
        }
    }
}

void Links::Accept(UniqueFd socket, const Endpoint& from) {
    if (isLeaving_) {
        return;
    }
    MakeRoom(Phase::AT_THE_GATE, MAX_AT_THE_GATE);
    Add(SecureChannel::Role::ACCEPTOR, std::move(socket), from, 0);
}

void Links::Dial(uint64_t dial, UniqueFd socket, const Endpoint& to, Milliseconds limit) {
    if (isLeaving_) {
        return;
    }
    const ConnectionPtr connection = Add(SecureChannel::Role::OPENER, std::move(socket), to, dial);
    connection->phase = Phase::CONNECTING;
    connection->limit = Clock::now() + limit;
}

Links::ConnectionPtr Links::Add(SecureChannel::Role role, UniqueFd socket, const Endpoint& remote, uint64_t dial) {
    auto connection = std::make_shared<Connection>();
    connection->id = ++lastId_;
    connection->dial = dial;
    connection->remote = remote;
    connection->limit = Clock::now() + GATE_LIMIT;
    connection->channel =
        SecureChannel::Start(loop_, *identity_.tls, identity_.key, role, std::move(socket), HandlersOf(connection->id));
    connections_.emplace(connection->id, connection);
    if (!tick_) {
        lastTick_ = Clock::now();
        tick_ = loop_.Every(TICK, [this] { Tick(); });
    }
    return connection;
}

// Ends the eldest that is in this phase and was accepted, when there are so many.
void Links::MakeRoom(Phase phase, size_t most) {
    size_t count = 0;
    ConnectionPtr eldest;
    for (const auto& [id, connection] : connections_) {
        if (connection->phase == phase && connection->dial == 0) {
            ++count;
            eldest = eldest ? eldest : connection;
        }
    }
    if (count >= most) {
        Remove(eldest, "too many connections wait", LinkRefusal::OTHER);
    }
}

SecureChannel::Handlers Links::HandlersOf(uint64_t id) {
    // The connection is there for as long as its channel calls.
    return {[this, id] {
                MakeRoom(Phase::GREETING, MAX_GREETING);
                const ConnectionPtr connection = Find(id);
                connection->phase = Phase::GREETING;
                connection->limit = Clock::now() + GREETING_LIMIT;
            },
        [this, id](const std::string& udid, std::time_t validUntil) { OnOpen(*Find(id), udid, validUntil); },
        [this, id](Stream stream, std::string_view message) { OnMessage(Find(id), stream, message); },
        [this, id](const std::string& reason) {
            const ConnectionPtr connection = Find(id);
            if (connection->dial == 0 && connection->phase != Phase::UP && connection->udid.empty()) {
                user_.OnNote("refused", "a connection from " + connection->remote.AddressText() + ": " + reason);
            }
            Remove(connection, reason, LinkRefusal::OTHER);
        },
        [this, id] { return Find(id)->phase == Phase::UP; },
        [this, id] {
            if (const ConnectionPtr connection = Find(id); connection->phase == Phase::UP) {
                user_.OnRoom(connection->link);
            }
        }};
}

void Links::OnOpen(Connection& connection, const std::string& udid, std::time_t validUntil) {
    connection.udid = udid;
    connection.validUntil = validUntil;
    connection.phase = Phase::GREETING;
    connection.limit = Clock::now() + GREETING_LIMIT;
    const ConnectionPtr self = Find(connection.id);
    if (!IsUdid(udid)) {
        Remove(self, "its certificate has no proper name", LinkRefusal::OTHER);
        return;
    }
    SendHello(connection);
}

void Links::SendHello(const Connection& connection) {
    Wire::LinkMessage message;
    Wire::Hello& hello = *message.mutable_hello();
    hello.set_version(VERSION);
    hello.set_run(identity_.run);
    hello.set_uptime_ms(static_cast<uint64_t>(std::chrono::floor<Milliseconds>(Clock::now() - started_).count()));
    hello.set_holds_link(HasLink(connection.udid));
    const auto begun = lastBegins_.find(connection.udid);
    hello.set_last_begin(begun == lastBegins_.end() ? 0 : begun->second);
    *hello.mutable_facts() = ToWire(facts_);
    hello.set_port(port_);
    hello.set_revocation_number(user_.RevocationNumber());
    connection.channel->Send(Stream::LINK, Bytes(message));
}

void Links::OnMessage(const ConnectionPtr& connection, Stream stream, std::string_view message) {
    if (stream == Stream::LINK) {
        OnLinkMessage(connection, message);
    } else if (connection->phase != Phase::UP || !user_.OnMessage(connection->link, stream, message)) {
        user_.OnNote("refused", "device " + Anonymous(connection->udid) + " sends what is no message");
        Remove(connection, "it sends what is no message", LinkRefusal::OTHER);
    }
}

void Links::OnLinkMessage(const ConnectionPtr& connection, std::string_view bytes) {
    const auto message = ParseLinkMessage(bytes);
    if (!message) {
        Remove(connection, "it sends what is no message", LinkRefusal::OTHER);
        return;
    }
    if (message->has_refusal()) {
        OnRefusal(connection, message->refusal());
    } else if (message->has_hello() && !connection->hasIntroduced) {
        OnHello(connection, message->hello());
    } else if (!connection->hasIntroduced) {
        Remove(connection, "it does not introduce itself", LinkRefusal::OTHER);
    } else if (message->has_begin()) {
        OnBegin(connection, message->begin());
    } else if (message->has_ready()) {
        OnReady(connection, message->ready());
    } else if (message->has_facts()) {
        OnFacts(connection, message->facts());
    } else if (message->has_clone() && connection->phase == Phase::UP) {
        connection->cloneAddress = Shown(message->clone().address());
        TakeNews(*connection, Clock::now());
    } else if (message->has_revocations() && connection->phase == Phase::UP) {
        connection->revocations = message->revocations().document();
        TakeNews(*connection, Clock::now());
    }
}

void Links::OnHello(const ConnectionPtr& connection, const Wire::Hello& hello) {
    if (!IsWelcome(connection, hello)) {
        return;
    }
    connection->hasIntroduced = true;
    connection->introduced = Clock::now();
    connection->run = {hello.run(), Milliseconds(std::min<uint64_t>(hello.uptime_ms(), INT64_MAX / 2)),
        hello.holds_link(), hello.last_begin()};
    connection->facts = *FromWire(hello.facts());
    connection->revocationNumber = hello.revocation_number();
    if (connection->udid == identity_.udid) {
        OnOwnIdentity(connection);
        return;
    }
    if (hello.port() > 0 && hello.port() <= UINT16_MAX) {
        Endpoint place = connection->remote;
        place.SetPort(static_cast<uint16_t>(hello.port()));
        user_.OnPlace(connection->udid, place);
    }
    const ConnectionPtr held = Held(connection->udid);
    const std::optional<HeldLink> link = held ? std::optional(Describe(*held)) : std::nullopt;
    const HeldLink* known = link ? &*link : nullptr;
    if (IsDecider(connection->udid)) {
        Follow(connection, ChooseLink(known, connection->run));
    } else if (const auto choice = ChooseWhenTold(known, connection->run); choice == LinkChoice::KEEP_ELDER) {
        Follow(connection, choice);
    }
}

bool Links::IsWelcome(const ConnectionPtr& connection, const Wire::Hello& hello) {
    if (hello.version() != VERSION) {
        const std::string words = "device " + Anonymous(connection->udid) + " speaks version " +
            std::to_string(hello.version()) + " of the network protocol, this one version " + std::to_string(VERSION) +
            ": bring the older one up to date";
        user_.OnNote("version", words);
        Refuse(connection, LinkRefusal::VERSION, words);
        return false;
    }
    if (hello.run().size() != RUN_BYTES || !FromWire(hello.facts())) {
        Remove(connection, "its introduction is malformed", LinkRefusal::OTHER);
        return false;
    }
    const LinkRefusal refusal = user_.Check(connection->udid);
    if (refusal != LinkRefusal::NONE) {
        Refuse(connection, refusal, refusal == LinkRefusal::REVOKED ? "the device has been revoked" : "not now");
        return false;
    }
    return true;
}

// This device itself, met by its own address, or one with a copy of its credentials.
void Links::OnOwnIdentity(const ConnectionPtr& connection) {
    if (connection->run.run == identity_.run) {
        Remove(connection, "it is this device", LinkRefusal::OTHER);
        return;
    }
    const bool isElder = connection->run.age > std::chrono::floor<Milliseconds>(Clock::now() - started_);
    user_.OnNote("clone",
        "another device has this device's identity: it is at " + connection->remote.AddressText() +
            " and has run for " + (isElder ? "longer" : "less long"));
    Refuse(connection, LinkRefusal::CLONE, "it has this device's own identity",
        connection->channel->LocalEnd().AddressText());
}

void Links::Follow(const ConnectionPtr& connection, LinkChoice choice) {
    const ConnectionPtr held = Held(connection->udid);
    switch (choice) {
    case LinkChoice::KEEP:
        Refuse(connection, LinkRefusal::DUPLICATE, "there is a link already");
        return;
    case LinkChoice::KEEP_ELDER:
        OnRival(*held, *connection);
        return;
    case LinkChoice::TAKE_ELDER:
        NoteClone(*connection, held->remote.AddressText());
        Refuse(held, LinkRefusal::CLONE, "a device with this identity has run for longer",
            connection->remote.AddressText());
        break;
    case LinkChoice::TAKE:
        if (held) {
            Remove(held, "the other device has lost it", LinkRefusal::OTHER);
        }
        break;
    }
    Choose(connection);
}

// Another run of a device that has a link. When the device has been restarted, the link will soon be noticed to be
// dead; when it is still heard later, there are two devices.
void Links::OnRival(Connection& held, Connection& newcomer) {
    const auto now = Clock::now();
    if (held.rivalSince == Clock::time_point{}) {
        held.rivalSince = now;
    }
    const bool areTwo = held.channel->LastReceived() > held.rivalSince + RIVAL_PROOF;
    if (areTwo) {
        NoteClone(held, newcomer.remote.AddressText());
    }
    Refuse(Find(newcomer.id), areTwo ? LinkRefusal::CLONE : LinkRefusal::AGAIN,
        "a device with this identity has run for longer", held.remote.AddressText());
}

void Links::NoteClone(Connection& held, const std::string& rival) {
    user_.OnNote("clone",
        "two devices have the identity " + Anonymous(held.udid) + ": the one at " + held.remote.AddressText() +
            " has run for longer and keeps its place, the one at " + rival + " is refused");
    Wire::LinkMessage message;
    message.mutable_clone()->set_address(rival);
    held.channel->Send(Stream::LINK, Bytes(message));
}

void Links::Choose(const ConnectionPtr& connection) {
    connection->phase = Phase::CHOSEN;
    connection->limit = Clock::now() + READY_LIMIT;
    connection->begin = ++lastBegin_;
    held_[connection->udid] = connection;
    Wire::LinkMessage message;
    message.mutable_begin()->set_number(connection->begin);
    connection->channel->Send(Stream::LINK, Bytes(message));
}

void Links::OnBegin(const ConnectionPtr& connection, const Wire::Begin& begin) {
    if (IsDecider(connection->udid) || connection->phase != Phase::GREETING) {
        Remove(connection, "it begins out of turn", LinkRefusal::OTHER);
        return;
    }
    if (const ConnectionPtr held = Held(connection->udid)) {
        const HeldLink link = Describe(*held);
        const LinkChoice choice = ChooseWhenTold(&link, connection->run);
        if (choice == LinkChoice::KEEP_ELDER) {
            OnRival(*held, *connection);
            return;
        }
        if (choice == LinkChoice::TAKE_ELDER) {
            NoteClone(*connection, held->remote.AddressText());
            Refuse(held, LinkRefusal::CLONE, "a device with this identity has run for longer",
                connection->remote.AddressText());
        } else {
            Remove(held, "the other device has lost it", LinkRefusal::OTHER);
        }
    }
    held_[connection->udid] = connection;
    connection->begin = begin.number();
    lastBegins_[connection->udid] = begin.number();
    Wire::LinkMessage message;
    message.mutable_ready()->set_number(begin.number());
    connection->channel->Send(Stream::LINK, Bytes(message));
    GoUp(connection);
}

void Links::OnReady(const ConnectionPtr& connection, const Wire::Ready& ready) {
    if (connection->phase != Phase::CHOSEN || ready.number() != connection->begin) {
        Remove(connection, "it is ready out of turn", LinkRefusal::OTHER);
        return;
    }
    GoUp(connection);
}

void Links::GoUp(const ConnectionPtr& connection) {
    connection->phase = Phase::UP;
    connection->link = std::make_shared<const Link>(connection->udid,
        NetworkIdOf(connection->udid, connection->run.run), connection->remote.Text(), connection->channel);
    TellDialled(*connection, true, LinkRefusal::NONE);
    if (connection->revocationNumber < user_.RevocationNumber()) {
        Wire::LinkMessage message;
        message.mutable_revocations()->set_document(user_.RevocationDocument());
        connection->channel->Send(Stream::LINK, Bytes(message));
    }
    user_.OnUp(connection->link, connection->facts);
}

void Links::OnFacts(const ConnectionPtr& connection, const Wire::Facts& facts) {
    const auto read = FromWire(facts);
    if (!read || connection->phase != Phase::UP) {
        Remove(connection, "what it tells of itself is malformed", LinkRefusal::OTHER);
        return;
    }
    connection->newFacts = *read;
    TakeNews(*connection, Clock::now());
}

// What a device tells again and again is passed on now and then, in its latest state: each time costs much.
void Links::TakeNews(Connection& connection, Clock::time_point now) {
    const bool isSomething = connection.newFacts || !connection.revocations.empty() || !connection.cloneAddress.empty();
    if (!isSomething || now - connection.newsTaken < TICK) {
        return;
    }
    connection.newsTaken = now;
    if (const auto facts = std::exchange(connection.newFacts, std::nullopt); facts && *facts != connection.facts) {
        connection.facts = *facts;
        user_.OnFacts(connection.link, connection.facts);
    }
    if (const std::string document = std::exchange(connection.revocations, {}); !document.empty()) {
        user_.OnRevocations(document);
    }
    if (const std::string address = std::exchange(connection.cloneAddress, {}); !address.empty()) {
        user_.OnNote("clone",
            "another device has this device's identity: it is at " + address + ", says device " +
                Anonymous(connection.udid));
    }
}

void Links::OnRefusal(const ConnectionPtr& connection, const Wire::Refusal& refusal) {
    const LinkRefusal kind = FromWire(refusal.kind());
    const std::string who = "device " + Anonymous(connection->udid) + " refuses this device: ";
    if (kind == LinkRefusal::CLONE) {
        user_.OnNote(
            "clone", who + "one with the same identity has run for longer, it is at " + Shown(refusal.address()));
    } else if (kind == LinkRefusal::REVOKED || kind == LinkRefusal::OVERLOAD) {
        user_.OnNote(kind == LinkRefusal::REVOKED ? "revoked" : "overload", who + Shown(refusal.words()));
    } else if (kind == LinkRefusal::VERSION) {
        user_.OnNote("version", who + Shown(refusal.words()));
    }
    Remove(connection, kind == LinkRefusal::LEAVING ? "it leaves" : "it refuses: " + Shown(refusal.words()), kind);
}

void Links::Refuse(
    const ConnectionPtr& connection, LinkRefusal refusal, const std::string& words, const std::string& address) {
    Wire::LinkMessage message;
    Wire::Refusal& wire = *message.mutable_refusal();
    wire.set_kind(ToWire(refusal));
    wire.set_words(words);
    wire.set_address(address);
    const auto channel = connection->channel;
    channel->Send(Stream::LINK, Bytes(message));
    channel->EndWhenSent();
    std::erase_if(leaving_, [](const auto& weak) { return weak.expired(); });
    leaving_.push_back(channel);
    Remove(connection, words, refusal);
}

// Ends the channel unless that has its last words to send.
void Links::Remove(const ConnectionPtr& connection, const std::string& reason, LinkRefusal refusal) {
    if (connections_.erase(connection->id) == 0) {
        return;
    }
    const auto held = held_.find(connection->udid);
    if (held != held_.end() && held->second == connection) {
        held_.erase(held);
    }
    const bool hasLastWords =
        std::ranges::any_of(leaving_, [&](const auto& weak) { return weak.lock() == connection->channel; });
    if (!hasLastWords) {
        connection->channel->End();
    }
    if (connection->phase == Phase::UP) {
        user_.OnDown(connection->link, reason);
    }
    TellDialled(*connection, false, refusal);
    if (connection->phase != Phase::UP && !connection->udid.empty() && !isLeaving_) {
        user_.OnFailed(connection->udid, refusal);
    }
}

void Links::TellDialled(Connection& connection, bool isLink, LinkRefusal refusal) {
    if (const uint64_t dial = std::exchange(connection.dial, 0); dial != 0) {
        user_.OnDialled(dial, connection.udid, isLink, refusal);
    }
}

void Links::Tick() {
    const auto now = Clock::now();
    if (now - std::exchange(lastTick_, now) > LATE_TICK) {
        judgeFrom_ = now + MAX_SILENCE;
    }
    std::vector<ConnectionPtr> all;
    for (const auto& [id, connection] : connections_) {
        all.push_back(connection);
    }
    for (const ConnectionPtr& connection : all) {
        CheckConnection(connection, now, now >= judgeFrom_);
    }
    if (connections_.empty()) {
        tick_ = {};
    }
}

void Links::CheckConnection(const ConnectionPtr& connection, Clock::time_point now, bool mayJudge) {
    if (connections_.count(connection->id) == 0) {
        return;
    }
    TakeNews(*connection, now);
    SecureChannel& channel = *connection->channel;
    const bool isHeld = connection->phase == Phase::CHOSEN || connection->phase == Phase::UP;
    if (connection->phase == Phase::CONNECTING && channel.HasHeard()) {
        connection->phase = Phase::GREETING;
        connection->limit = now + GREETING_LIMIT;
    }
    channel.AdaptToLoss();
    if (connection->phase != Phase::UP && mayJudge && now > connection->limit) {
        Remove(connection, "it takes too long", LinkRefusal::OTHER);
    } else if (isHeld && mayJudge && now - channel.LastReceived() > MAX_SILENCE && !channel.HasUnread()) {
        Remove(connection, "it is silent", LinkRefusal::OTHER);
    } else if (isHeld && std::time(nullptr) > connection->validUntil) {
        Refuse(connection, LinkRefusal::OTHER, "its certificate has ended");
    } else if (isHeld && now - channel.LastSent() >= (channel.IsLossy() ? LOSSY_HEARTBEAT : HEARTBEAT)) {
        Wire::LinkMessage beat;
        beat.mutable_beat();
        channel.Send(Stream::LINK, Bytes(beat));
    }
}

void Links::EndLink(const std::string& udid, LinkRefusal refusal, const std::string& reason) {
    if (const ConnectionPtr held = Held(udid)) {
        Refuse(held, refusal, reason);
    }
}

void Links::CheckAll() {
    std::vector<std::string> udids;
    for (const auto& [udid, connection] : held_) {
        udids.push_back(udid);
    }
    for (const std::string& udid : udids) {
        const LinkRefusal refusal = user_.Check(udid);
        if (refusal != LinkRefusal::NONE) {
            EndLink(udid, refusal, refusal == LinkRefusal::REVOKED ? "the device has been revoked" : "not now");
        }
    }
}

void Links::OfferRevocations() {
    Wire::LinkMessage message;
    message.mutable_revocations()->set_document(user_.RevocationDocument());
    for (const LinkPtr& link : All()) {
        link->Send(Stream::LINK, Bytes(message));
    }
}

void Links::KeepOnly(const std::function<bool(const Endpoint& local)>& isThere) {
    const auto all = connections_;
    for (const auto& [id, connection] : all) {
        const bool isConnected = connection->phase != Phase::CONNECTING;
        if (isConnected && connections_.contains(id) && !isThere(connection->channel->LocalEnd())) {
            Remove(connection, "its address here has gone", LinkRefusal::OTHER);
        }
    }
}

bool Links::HasLink(const std::string& udid) const {
    const ConnectionPtr held = Held(udid);
    return held && held->phase == Phase::UP;
}

LinkPtr Links::FindLink(const std::string& udid) const {
    const ConnectionPtr held = Held(udid);
    return held ? held->link : nullptr;
}

std::vector<LinkPtr> Links::All() const {
    std::vector<LinkPtr> all;
    for (const auto& [udid, connection] : held_) {
        if (connection->link) {
            all.push_back(connection->link);
        }
    }
    return all;
}

void Links::Leave() {
    isLeaving_ = true;
    const auto all = connections_;
    for (const auto& [id, connection] : all) {
        if (connection->phase == Phase::UP) {
            Refuse(connection, LinkRefusal::LEAVING, "the device leaves");
        } else {
            Remove(connection, "the device leaves", LinkRefusal::LEAVING);
        }
    }
}

void Links::EndAll() {
    isLeaving_ = true;
    tick_ = {};
    const auto all = std::exchange(connections_, {});
    held_.clear();
    for (const auto& [id, connection] : all) {
        connection->channel->End();
    }
    for (const auto& weak : std::exchange(leaving_, {})) {
        if (const auto channel = weak.lock()) {
            channel->End();
        }
    }
}

Links::ConnectionPtr Links::Find(uint64_t id) const {
    return connections_.at(id);
}

Links::ConnectionPtr Links::Held(const std::string& udid) const {
    const auto held = held_.find(udid);
    return held == held_.end() ? nullptr : held->second;
}

HeldLink Links::Describe(const Connection& connection) const {
    const auto since = std::chrono::floor<Milliseconds>(Clock::now() - connection.introduced);
    return {connection.run.run, connection.run.age + since, connection.begin, connection.phase == Phase::UP};
}

}  // namespace ZYNE::Linux
