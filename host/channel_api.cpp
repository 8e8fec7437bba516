#include "host/channel_api.h"

#include <chrono>
#include <cstdint>
#include <utility>

#include <sdbus-c++/sdbus-c++.h>

#include "client/bus_library.h"
#include "client/device_api_adaptor.h"
#include "host/api_error.h"
#include "host/peer_choice.h"
#include "host/program_calls.h"
#include "linux/bus/bus_wire.h"
#include "linux/network/channel/channel_room.h"

namespace ZYNE::Host {
namespace {

using Linux::ChannelName;
using Linux::ChannelRefusal;

using OpenResult = sdbus::Result<sdbus::UnixFd, std::string>;

std::string Quoted(const std::string& text) {
    return "\"" + text + "\"";
}

ApiError ToError(ChannelRefusal refusal, const ChannelName& wanted, const std::string& peer) {
    const std::string app = "the app " + Quoted(wanted.app);
    const std::string channel = "a channel " + Quoted(wanted.name);
    switch (refusal) {
    case ChannelRefusal::NO_APP:
        return {"NotFound", app + " is not installed here"};
    case ChannelRefusal::NO_CHANNEL:
        return {"NotFound", app + " does not declare " + channel};
    case ChannelRefusal::OFFLINE:
        return {"Offline", Quoted(peer) + " is not online"};
    case ChannelRefusal::TOO_MANY:
        return {"TooMany", app + " has too many channels, open or waited for"};
    case ChannelRefusal::PEER_NO_APP:
        return {"Refused", app + " is not installed on " + Quoted(peer)};
    case ChannelRefusal::PEER_NO_CHANNEL:
        return {"Refused", app + " does not declare " + channel + " on " + Quoted(peer)};
    case ChannelRefusal::PEER_TOO_MANY:
        return {"TooMany", Quoted(peer) + " has too many channels of this device waiting"};
    case ChannelRefusal::NOBODY:
        return {"Timeout", app + " has not asked for " + channel + " on " + Quoted(peer) + " in time"};
    case ChannelRefusal::STOPPED:
        return {"Busy", "the device is not on the network"};
    default:
        return {"Failed", channel + " cannot be opened: the device's log says why"};
    }
}

Linux::ChannelKind KindOf(const std::string& text) {
    const auto kind = Linux::ParseChannelKind(text);
    if (!kind) {
        throw ApiError("Failed", "a channel is reliable, bulk or latest, not " + Quoted(text));
    }
    return *kind;
}

// Withdraws a program's wish when the program leaves the bus.
class Withdrawal final : public IRemoteObject::DeathRecipient {
public:
    Withdrawal(Linux::Fabric& network, uint32_t number) : network_(network), number_(number) {}
    void OnRemoteDied(const wptr<IRemoteObject>& /*remote*/) override { network_.WithdrawChannel(number_); }

private:
    Linux::Fabric& network_;
    const uint32_t number_;
};

// A program's call that waits for its answer.
struct Call {
    Call(OpenResult&& given, ChannelName name, KnownPeer asked)
        : result(std::move(given)), wanted(std::move(name)), peer(std::move(asked)) {}

    void Answer(ChannelRefusal refusal, Linux::UniqueFd descriptor) const {
        SendAnswer([&] {
            if (refusal == ChannelRefusal::NONE) {
                result.returnResults(sdbus::UnixFd(descriptor.Release(), sdbus::adopt_fd), ShortId(peer.udid));
            } else {
                result.returnError(BusError(ToError(refusal, wanted, peer.name)));
            }
        });
    }

    const OpenResult result;
    const ChannelName wanted;
    const KnownPeer peer;
    // On the bus's loop alone: while the call waits, and its program is known to the bus.
    sptr<IRemoteObject> program;
    sptr<IRemoteObject::DeathRecipient> withdrawal;
};

}  // namespace

class ChannelApi::Adaptor final : public sdbus::AdaptorInterfaces<io::collaborationfwk::Channels1_adaptor> {
public:
    Adaptor(sdbus::IConnection& connection, const std::string& objectPath, Options options)
        : AdaptorInterfaces(connection, sdbus::ObjectPath(objectPath)), options_(std::move(options)) {
        registerAdaptor();
    }
    Adaptor(const Adaptor&) = delete;
    Adaptor& operator=(const Adaptor&) = delete;
    ~Adaptor() { unregisterAdaptor(); }

private:
    // No thread waits: the answer comes from the network's loop, and is given on the bus's.
    void Open(OpenResult&& result, std::string app, std::string peer, std::string name, std::string kind,
        uint32_t milliseconds) override {
        try {
            const ChannelName wanted{std::move(app), std::move(name), KindOf(kind)};
            const auto call = std::make_shared<Call>(std::move(result), wanted, ChoosePeer(options_.peers(), peer));
            Begin(call, std::chrono::milliseconds(milliseconds));
        } catch (const ApiError& error) {
            SendAnswer([&] { result.returnError(BusError(error)); });
        }
    }

    void Begin(const std::shared_ptr<Call>& call, std::chrono::milliseconds time) {
        Linux::EventLoop& loop = *options_.device.bus.GetLoop();
        const uint32_t number = options_.device.network.OpenChannel({call->wanted, call->peer.udid, time},
            [this, call, &loop](ChannelRefusal refusal, Linux::UniqueFd descriptor) {
                const auto end = std::make_shared<Linux::UniqueFd>(std::move(descriptor));
                loop.Post([this, call, refusal, end] { Answer(*call, refusal, std::move(*end)); });
            });
        const auto bus = options_.device.bus.GetClient();
        call->program =
            bus ? bus->GetRemote(Client::CallingConnection(getObject()), Linux::BusWire::DEFAULT_PATH) : nullptr;
        call->withdrawal = MakeSptr<Withdrawal>(options_.device.network, number);
        if (!call->program || !call->program->AddDeathRecipient(call->withdrawal)) {
            options_.device.network.WithdrawChannel(number);
        }
    }

    void Answer(Call& call, ChannelRefusal refusal, Linux::UniqueFd descriptor) {
        if (call.program) {
            call.program->RemoveDeathRecipient(call.withdrawal);
            call.program = nullptr;
        }
        call.Answer(refusal, std::move(descriptor));
        options_.answered();
    }

    const Options options_;
};

ChannelApi::ChannelApi(sdbus::IConnection& connection, const std::string& objectPath, Options options)
    : adaptor_(std::make_unique<Adaptor>(connection, objectPath, std::move(options))) {}

ChannelApi::~ChannelApi() = default;

}  // namespace ZYNE::Host
