#include "client/desk.h"

#include <utility>

#include "client/desk_api_proxy.h"
#include "client/device_bus.h"
#include "client/device_connection.h"

namespace ZYNE::Client {
namespace {

constexpr const char* BUS_NAME = "io.collaborationfwk.Desk1";
constexpr const char* OBJECT_PATH = "/io/collaborationfwk/Desk1";

[[noreturn]] void Throw(const sdbus::Error& error) {
    if (error.getName() == "org.freedesktop.DBus.Error.ServiceUnknown") {
        throw CompanionMissing("the companion does not run: see collabctl explain");
    }
    throw DeviceError("the companion cannot be asked: " + error.getMessage());
}

}  // namespace

class Desk::Proxy final : public sdbus::ProxyInterfaces<io::collaborationfwk::Desk1_proxy> {
public:
    explicit Proxy(sdbus::IConnection& bus) : ProxyInterfaces(bus, BusName(BUS_NAME), sdbus::ObjectPath(OBJECT_PATH)) {}
    Proxy(const Proxy&) = delete;
    Proxy& operator=(const Proxy&) = delete;
    virtual ~Proxy() = default;

    std::function<void(const Passage&)> told;

private:
    void onPassed(const std::string& what, const std::string& peer, const std::string& why) override {
        told({what, peer, why});
    }
};

struct Desk::Connection {
    explicit Connection(const DeviceEntry& device) : bus(ConnectTo(device)), proxy(*bus) {}

    const std::unique_ptr<sdbus::IConnection> bus;
    Proxy proxy;
};

Desk::Desk(const DeviceEntry& device) : device_(device.name), connection_(std::make_unique<Connection>(device)) {}

Desk::~Desk() = default;

DeskState Desk::GetState() {
    try {
        const auto [where, peer, sent, dropped, roundTrip] = connection_->proxy.GetState();
        return {where, peer, sent, dropped, roundTrip};
    } catch (const sdbus::Error& error) {
        Throw(error);
    }
}

bool Desk::Return() {
    try {
        return connection_->proxy.Return();
    } catch (const sdbus::Error& error) {
        Throw(error);
    }
}

std::vector<DeskFact> Desk::Explain(const std::string& peer) {
    try {
        return AsValues<DeskFact>(connection_->proxy.Explain(peer));
    } catch (const sdbus::Error& error) {
        Throw(error);
    }
}

void Desk::Follow(int stop, const std::function<void(const Passage&)>& told) {
    connection_->proxy.told = told;
    try {
        connection_->proxy.registerProxy();
    } catch (const sdbus::Error& error) {
        Throw(error);
    }
    FollowBus(*connection_->bus, device_, stop);
}

}  // namespace ZYNE::Client
