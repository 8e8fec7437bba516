#include "bench/crowd.h"

#include <cerrno>
#include <functional>
#include <stdexcept>
#include <utility>

#include "linux/account/udid.h"
#include "linux/network/link/links.h"
#include "linux/network/link/run_id.h"
#include "linux/network/presence/announcement.h"
#include "platform/host/device_info.h"

namespace ZYNE::Bench {
namespace {

using Linux::LinkIdentity;
using Linux::LinkPtr;
using Linux::LinkRefusal;

constexpr std::chrono::seconds MAX_DIAL{5};

LinkIdentity NewIdentity(const std::string& account) {
    const std::string udid = Linux::NewUdid();
    const std::string run = Linux::NewRun();
    return {udid, run, Linux::NetworkIdOf(udid, run),
        std::make_shared<const Linux::TlsContext>(Linux::TlsContext::SelfSigned(udid)),
        Linux::MeetingKey::OfName(account)};
}

}  // namespace

class Crowd::Member final : public Linux::LinksUser {
public:
    // `onDialled` is told whether the link is there; `lost` counts the links that end.
    Member(Linux::EventLoop& loop, const std::string& account, const std::string& name,
        std::function<void(bool)> onDialled, std::atomic<size_t>& lost)
        : onDialled_(std::move(onDialled)), lost_(lost), links_(loop, NewIdentity(account), *this) {
        links_.SetFacts({name, CollaborationFwk::DeviceType::PHONE, Linux::OS_TYPE});
    }

    void Dial(const Linux::Endpoint& to) {
        Linux::UniqueFd made(socket(to.Family(), SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        if (connect(made.Get(), to.Get(), to.Size()) != 0 && errno != EINPROGRESS) {
            throw std::runtime_error("the crowd cannot connect");
        }
        links_.Dial(1, std::move(made), to, MAX_DIAL);
    }

    void OnUp(const LinkPtr&, const Linux::DeviceFacts&) override {}
    void OnFacts(const LinkPtr&, const Linux::DeviceFacts&) override {}
    bool OnMessage(const LinkPtr&, Linux::Stream, std::string_view) override { return true; }
    void OnDown(const LinkPtr&, const std::string&) override { ++lost_; }
    void OnDialled(uint64_t, const std::string&, bool isLink, LinkRefusal) override { onDialled_(isLink); }
    void OnPlace(const std::string&, const Linux::Endpoint&) override {}
    LinkRefusal Check(const std::string&) override { return LinkRefusal::NONE; }
    uint64_t RevocationNumber() override { return 0; }
    std::string RevocationDocument() override { return {}; }
    void OnRevocations(const std::string&) override {}
    void OnNote(const std::string&, const std::string&) override {}

private:
    const std::function<void(bool)> onDialled_;
    std::atomic<size_t>& lost_;
    Linux::Links links_;
};

Crowd::Crowd(std::string account, uint16_t port) : account_(std::move(account)), port_(port), loop_("crowd") {}

Crowd::~Crowd() {
    loop_.Run([this] { members_.clear(); });
}

void Crowd::Add(size_t devices) {
    loop_.Run([&] {
        for (size_t i = 0; i < devices; ++i) {
            const auto onDialled = [this](bool isLink) {
                dialled_ += isLink ? 1 : 0;
                isDialling_ = false;
                loop_.Post([this] { DialNext(); });
            };
            members_.push_back(std::make_unique<Member>(
                loop_, account_, "member-" + std::to_string(members_.size()), onDialled, lost_));
        }
        DialNext();
    });
}

void Crowd::DialNext() {
    if (!isDialling_ && dialled_ < members_.size()) {
        isDialling_ = true;
        members_[dialled_]->Dial(*Linux::Endpoint::FromText("127.0.0.1", port_));
    }
}

}  // namespace ZYNE::Bench
