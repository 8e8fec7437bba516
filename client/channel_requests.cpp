#include "client/channel_requests.h"

#include <cstdint>
#include <utility>

#include "client/bus_library.h"
#include "client/channel_kind_text.h"
#include "client/device_bus.h"

namespace ZYNE::Client {
namespace {

constexpr const char* INTERFACE = "io.collaborationfwk.Channels1";
constexpr std::chrono::seconds ANSWER_TIME{10};  // beyond what the device waits for the peer

}  // namespace

class ChannelRequests::Connection {
public:
    explicit Connection(const DeviceEntry& device)
        : bus_(ConnectTo(device)), proxy_(sdbus::createProxy(*bus_, BusName(DEVICE_NAME), ObjectPath(DEVICE_PATH))) {
        bus_->enterEventLoopAsync();
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection() { bus_->leaveEventLoop(); }

    void Open(const std::string& app, const std::string& peer, const std::string& name, ChannelKind kind,
        std::chrono::milliseconds time, Answer answer) {
        proxy_->callMethodAsync("Open")
            .onInterface(INTERFACE)
            .withTimeout(time + ANSWER_TIME)
            .withArguments(app, peer, name, TextOf(kind), static_cast<uint32_t>(time.count()))
            .uponReplyInvoke(
                [answer = std::move(answer)](AsyncError error, sdbus::UnixFd channel, const std::string& /*peerId*/) {
                    answer(error ? Linux::UniqueFd() : Linux::UniqueFd(channel.release()),
                        error ? error->getMessage() : std::string());
                });
    }

private:
    using ObjectPath = sdbus::ObjectPath;

    const std::unique_ptr<sdbus::IConnection> bus_;
    const std::unique_ptr<sdbus::IProxy> proxy_;
};

ChannelRequests::ChannelRequests(const DeviceEntry& device) : connection_(std::make_unique<Connection>(device)) {}

ChannelRequests::~ChannelRequests() = default;

void ChannelRequests::Open(const std::string& app, const std::string& peer, const std::string& name, ChannelKind kind,
    std::chrono::milliseconds time, Answer answer) {
    try {
        connection_->Open(app, peer, name, kind, time, answer);
    } catch (const sdbus::Error& error) {
        answer(Linux::UniqueFd(), error.getMessage());
    }
}

}  // namespace ZYNE::Client
