// A device of the network that a test plays: its links without anything above them.
#pragma once

#include <poll.h>

#include "linux/account/account.h"
#include "linux/account/credentials.h"
#include "linux/network/link/links.h"
#include "linux/network/link/run_id.h"
#include "tests/port/port_test.h"

namespace ZYNE::Linux {

// In open mode, of the account `account`.
inline LinkIdentity OpenIdentity(const std::string& udid, const std::string& account) {
    const std::string run = NewRun();
    return {udid, run, NetworkIdOf(udid, run), std::make_shared<const TlsContext>(TlsContext::SelfSigned(udid)),
        MeetingKey::OfName(account)};
}

// With the credentials in `directory`.
inline LinkIdentity AccountIdentity(const fs::path& directory) {
    const Credentials credentials = LoadCredentials(directory);
    const std::string run = NewRun();
    return {credentials.udid, run, NetworkIdOf(credentials.udid, run),
        std::make_shared<const TlsContext>(
            TlsContext::Identity{credentials.certificate, credentials.key, credentials.authority}),
        MeetingKey(credentials.meetingKey)};
}

inline Endpoint Loopback(uint16_t port) {
    return *Endpoint::FromText("127.0.0.1", port);
}

// A socket of TCP that connects there, and does not block.
inline UniqueFd ConnectTo(uint16_t port) {
    UniqueFd connecting(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const Endpoint to = Loopback(port);
    connect(connecting.Get(), to.Get(), to.Size());
    return connecting;
}

class PlayedDevice final : public LinksUser {
public:
    explicit PlayedDevice(LinkIdentity who)
        : identity(std::move(who)), links(loop_, identity, *this),
          listener_(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
        const Endpoint any = Loopback(0);
        EXPECT_EQ(bind(listener_.Get(), any.Get(), any.Size()), 0);
        EXPECT_EQ(listen(listener_.Get(), 1024), 0);
        loop_.Run([this] {
            accepting_ = loop_.Watch(listener_.Get(), POLLIN, [this](uint32_t) {
                UniqueFd accepted(accept4(listener_.Get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
                if (accepted) {
                    const Endpoint from = Endpoint::OfPeer(accepted.Get());
                    links.Accept(std::move(accepted), from);
                }
            });
        });
    }
    ~PlayedDevice() {
        loop_.Run([this] {
            accepting_ = {};
            links.EndAll();
        });
        loop_.Stop();
    }

    uint16_t Port() const { return Endpoint::OfSocket(listener_.Get()).Port(); }
    void Dial(uint16_t port) {
        loop_.Run([&] { links.Dial(++dials_, ConnectTo(port), Loopback(port), std::chrono::seconds(5)); });
    }
    void SetFacts(const DeviceFacts& facts) {
        loop_.Run([&] { links.SetFacts(facts); });
    }
    EventLoop& Loop() { return loop_; }
    void Do(const std::function<void()>& what) { loop_.Run(what); }
    bool HasLink(const std::string& udid) {
        bool has = false;
        loop_.Run([&] { has = links.HasLink(udid); });
        return has;
    }
    bool Sends(const std::string& udid, Stream stream, const std::string& message) {
        bool isTaken = false;
        loop_.Run([&] {
            const LinkPtr link = links.FindLink(udid);
            isTaken = link && link->Send(stream, message);
        });
        return isTaken;
    }

    LinkIdentity identity;
    Told<std::string> told;  // "up", "down", "note KIND", "facts NAME SCREEN", "dialled KIND"
    std::function<bool(Stream stream, std::string_view message)> onMessage = [](Stream, std::string_view) {
        return true;
    };

private:
    void OnUp(const LinkPtr& /*link*/, const DeviceFacts& facts) override {
        told.Add("up");
        TellFacts(facts);
    }
    void OnFacts(const LinkPtr& /*link*/, const DeviceFacts& facts) override { TellFacts(facts); }
    bool OnMessage(const LinkPtr& /*link*/, Stream stream, std::string_view message) override {
        return onMessage(stream, message);
    }
    void OnDown(const LinkPtr& /*link*/, const std::string& /*reason*/) override { told.Add("down"); }
    void OnDialled(uint64_t /*dial*/, const std::string& /*udid*/, bool isLink, LinkRefusal refusal) override {
        told.Add(isLink ? "dialled link" : "dialled " + std::to_string(static_cast<int>(refusal)));
    }
    void OnPlace(const std::string& /*udid*/, const Endpoint& /*place*/) override {}
    LinkRefusal Check(const std::string& /*udid*/) override { return LinkRefusal::NONE; }
    uint64_t RevocationNumber() override { return 0; }
    std::string RevocationDocument() override { return ""; }
    void OnRevocations(const std::string& /*document*/) override {}
    void OnNote(const std::string& kind, const std::string& /*text*/) override { told.Add("note " + kind); }
    void TellFacts(const DeviceFacts& facts) {
        if (!facts.name.empty()) {
            told.Add("facts " + facts.name + ' ' + std::to_string(facts.screenStatus));
        }
    }

    EventLoop loop_{"played"};

public:
    Links links;

private:
    UniqueFd listener_;
    EventLoop::Source accepting_;
    uint64_t dials_ = 0;
};

}  // namespace ZYNE::Linux
