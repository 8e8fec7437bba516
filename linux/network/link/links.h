// The links of a device: turns connections into links, keeps one for each device, and notices which have ended.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "linux/network/link/device_facts.h"
#include "linux/network/link/link.h"
#include "linux/network/link/link.pb.h"
#include "linux/network/link/link_rules.h"

namespace ZYNE::Linux {

// Who this device is in this run.
struct LinkIdentity {
    std::string udid;
    std::string run;
    std::string networkId;
    std::shared_ptr<const TlsContext> tls;
    MeetingKey key;
};

// What a peer that does not become a link was told, or told us.
enum class LinkRefusal { NONE, DUPLICATE, CLONE, VERSION, REVOKED, OVERLOAD, FULL, AGAIN, LEAVING, OTHER };

// What Links tells. Called on the loop's thread.
class LinksUser {
public:
    virtual void OnUp(const LinkPtr& link, const DeviceFacts& facts) = 0;
    virtual void OnFacts(const LinkPtr& link, const DeviceFacts& facts) = 0;
    // False ends the link: the message is none of this stream.
    virtual bool OnMessage(const LinkPtr& link, Stream stream, std::string_view message) = 0;
    virtual void OnDown(const LinkPtr& link, const std::string& reason) = 0;
    // Less waits on the link than before. Not after each message: once the link's socket has had no room.
    virtual void OnRoom(const LinkPtr& /*link*/) {}

    // A connection that was dialled as `dial` has come to its end: as a link (NONE), or without becoming one. `udid` is
    // empty when the other side has not proved who it is. Once for each.
    virtual void OnDialled(uint64_t dial, const std::string& udid, bool isLink, LinkRefusal refusal) = 0;
    // A connection with the device has ended without becoming a link, whoever opened it.
    virtual void OnFailed(const std::string& /*udid*/, LinkRefusal /*refusal*/) {}
    // Where the device of a link takes connections.
    virtual void OnPlace(const std::string& udid, const Endpoint& place) = 0;

    // Whether the device may have a link: NONE, REVOKED, OVERLOAD or FULL.
    virtual LinkRefusal Check(const std::string& udid) = 0;
    virtual uint64_t RevocationNumber() = 0;
    virtual std::string RevocationDocument() = 0;
    virtual void OnRevocations(const std::string& document) = 0;

    // Something people should know of. `kind` is one of clone, version, revoked, overload, refused.
    virtual void OnNote(const std::string& kind, const std::string& text) = 0;

protected:
    ~LinksUser() = default;
};

// The loop's thread only.
//
// A connection passes the gate (it knows the meeting key), then TLS, then both sides say Hello; the decider of the pair
// says Begin, the other Ready. Whoever has not come so far in time is cut off; of strangers at the gate there are at
// most MAX_AT_THE_GATE, the eldest goes for a new one, so that half-open connections cost nothing more.
class Links {
public:
    static constexpr uint32_t VERSION = 2;
    static constexpr size_t MAX_AT_THE_GATE = 128;
    static constexpr size_t MAX_GREETING = 128;

    Links(EventLoop& loop, LinkIdentity identity, LinksUser& user);
    Links(const Links&) = delete;
    Links& operator=(const Links&) = delete;
    ~Links() { EndAll(); }

    const LinkIdentity& Identity() const { return identity_; }

    // What is told of this device; the peers are told of a change.
    void SetFacts(const DeviceFacts& facts);
    // Where this device takes connections.
    void SetPort(uint16_t port) { port_ = port; }

    void Accept(UniqueFd socket, const Endpoint& from);
    // `socket` is connecting. OnDialled tells how it came out, as `dial`; `limit` is for the connection alone.
    void Dial(uint64_t dial, UniqueFd socket, const Endpoint& to, Milliseconds limit);

    bool HasLink(const std::string& udid) const;
    LinkPtr FindLink(const std::string& udid) const;
    std::vector<LinkPtr> All() const;

    // Ends the link; the peer is told why.
    void EndLink(const std::string& udid, LinkRefusal refusal, const std::string& reason);
    // Ends the links of devices that Check refuses now.
    void CheckAll();
    // Offers a new list of revoked devices to all.
    void OfferRevocations();
    // The local addresses that are still there: links over others are ended.
    void KeepOnly(const std::function<bool(const Endpoint& local)>& isThere);

    // Says goodbye to all, and takes none any more. What is on its way to the sockets is still sent.
    void Leave();
    // Ends everything at once.
    void EndAll();

private:
    using Clock = EventLoop::Clock;
    enum class Phase { CONNECTING, AT_THE_GATE, GREETING, CHOSEN, UP };
    struct Connection {
        uint64_t id = 0;
        uint64_t dial = 0;  // 0 of one that was accepted, or whose end has been told
        Phase phase = Phase::AT_THE_GATE;
        Endpoint remote;
        std::shared_ptr<SecureChannel> channel;
        Clock::time_point limit;  // until when it must be a link
        std::string udid;
        std::time_t validUntil = 0;
        bool hasIntroduced = false;  // its Hello has come
        PeerRun run;                 // as it has introduced itself, at `introduced`
        Clock::time_point introduced;
        DeviceFacts facts;
        std::optional<DeviceFacts> newFacts;  // what it has told and is not passed on yet, as are the next two
        std::string revocations;
        std::string cloneAddress;
        Clock::time_point newsTaken{};
        uint64_t begin = 0;
        uint64_t revocationNumber = 0;
        Clock::time_point rivalSince{};  // when another run of its identity was met first
        std::string rivalAddress;
        LinkPtr link;
    };
    using ConnectionPtr = std::shared_ptr<Connection>;

    ConnectionPtr Add(SecureChannel::Role role, UniqueFd socket, const Endpoint& remote, uint64_t dial);
    void MakeRoom(Phase phase, size_t most);
    SecureChannel::Handlers HandlersOf(uint64_t id);
    void OnOpen(Connection& connection, const std::string& udid, std::time_t validUntil);
    void SendHello(const Connection& connection);
    void OnMessage(const ConnectionPtr& connection, Stream stream, std::string_view message);
    void OnLinkMessage(const ConnectionPtr& connection, std::string_view message);
    void OnHello(const ConnectionPtr& connection, const Wire::Hello& hello);
    bool IsWelcome(const ConnectionPtr& connection, const Wire::Hello& hello);
    void OnOwnIdentity(const ConnectionPtr& connection);
    void Follow(const ConnectionPtr& connection, LinkChoice choice);
    void OnRival(Connection& held, Connection& newcomer);
    void NoteClone(Connection& held, const std::string& rival);
    void Choose(const ConnectionPtr& connection);
    void OnBegin(const ConnectionPtr& connection, const Wire::Begin& begin);
    void OnReady(const ConnectionPtr& connection, const Wire::Ready& ready);
    void OnRefusal(const ConnectionPtr& connection, const Wire::Refusal& refusal);
    void OnFacts(const ConnectionPtr& connection, const Wire::Facts& facts);
    void TakeNews(Connection& connection, Clock::time_point now);
    void GoUp(const ConnectionPtr& connection);
    void Refuse(const ConnectionPtr& connection, LinkRefusal refusal, const std::string& words,
        const std::string& address = "");
    void Remove(const ConnectionPtr& connection, const std::string& reason, LinkRefusal refusal);
    void TellDialled(Connection& connection, bool isLink, LinkRefusal refusal);
    void Tick();
    void CheckConnection(const ConnectionPtr& connection, Clock::time_point now, bool mayJudge);
    ConnectionPtr Find(uint64_t id) const;
    ConnectionPtr Held(const std::string& udid) const;
    HeldLink Describe(const Connection& connection) const;
    bool IsDecider(const std::string& udid) const { return identity_.udid < udid; }

    EventLoop& loop_;
    const LinkIdentity identity_;
    LinksUser& user_;
    const Clock::time_point started_ = Clock::now();
    DeviceFacts facts_;
    uint16_t port_ = 0;
    bool isLeaving_ = false;
    uint64_t lastId_ = 0;
    uint64_t lastBegin_;
    std::map<uint64_t, ConnectionPtr> connections_;      // by id: the eldest first
    std::map<std::string, ConnectionPtr> held_;          // by udid: the one that is the link, or is to be
    std::map<std::string, uint64_t> lastBegins_;         // by udid: the number of the last Begin that came
    std::vector<std::weak_ptr<SecureChannel>> leaving_;  // still sending their last words
    Clock::time_point lastTick_{};
    Clock::time_point judgeFrom_{};  // until then no silence counts
    EventLoop::Source tick_;
};

}  // namespace ZYNE::Linux
