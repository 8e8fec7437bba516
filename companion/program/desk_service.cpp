#include "companion/program/desk_service.h"

#include <cstdint>
#include <stdexcept>
#include <tuple>
#include <utility>

#include <sdbus-c++/sdbus-c++.h>

#include "client/bus_library.h"
#include "client/desk_api_adaptor.h"
#include "client/device_bus.h"
#include "linux/base/log_domains.h"
#include "platform/log/log_print.h"

namespace ZYNE::Companion {
namespace {

constexpr LogDomain LOG = Linux::LogDomains::COMPANION;
constexpr const char* BUS_NAME = "io.collaborationfwk.Desk1";
constexpr const char* OBJECT_PATH = "/io/collaborationfwk/Desk1";
constexpr size_t MOST_PASSAGES = 1000;  // that wait to be told

}  // namespace

class DeskService::Adaptor final : public sdbus::AdaptorInterfaces<io::collaborationfwk::Desk1_adaptor> {
public:
    Adaptor(sdbus::IConnection& bus, Handlers handlers)
        : AdaptorInterfaces(bus, sdbus::ObjectPath(OBJECT_PATH)), handlers_(std::move(handlers)) {
        registerAdaptor();
    }
    Adaptor(const Adaptor&) = delete;
    Adaptor& operator=(const Adaptor&) = delete;
    ~Adaptor() { unregisterAdaptor(); }

private:
    std::tuple<std::string, std::string, uint64_t, uint64_t, int64_t> GetState() override {
        const Client::DeskState state = handlers_.state();
        return {state.where, state.peer, state.sent, state.dropped, state.roundTrip};
    }

    bool Return() override { return handlers_.bringHome(); }

    std::vector<sdbus::Struct<std::string, bool>> Explain(const std::string& peer) override {
        std::vector<sdbus::Struct<std::string, bool>> facts;
        for (const Client::DeskFact& fact : handlers_.explain(peer)) {
            facts.emplace_back(fact.name, fact.holds);
        }
        return facts;
    }

    const Handlers handlers_;
};

struct DeskService::Connection {
    Connection(const Client::DeviceEntry& device, Handlers handlers)
        : bus(Client::ConnectTo(device)), adaptor(*bus, std::move(handlers)) {
        bus->requestName(Client::BusName(BUS_NAME));
        bus->enterEventLoopAsync();
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection() { bus->leaveEventLoop(); }

    const std::unique_ptr<sdbus::IConnection> bus;
    Adaptor adaptor;
};

DeskService::DeskService(const Client::DeviceEntry& device, Handlers handlers) try
    : connection_(std::make_unique<Connection>(device, std::move(handlers))),
      passages_(Linux::Mailbox<Client::Passage>::Make(
          [this](const std::function<void()>& task) {
              telling_.Post(task);
              return true;
          },
          [this](const Client::Passage& passage) { Emit(passage); }, {MOST_PASSAGES})) {
} catch (const sdbus::Error& error) {
    throw std::runtime_error("the desk cannot be served on the device's bus: " + error.getMessage());
}

DeskService::~DeskService() {
    passages_->CloseAndWait();
}

void DeskService::Tell(const Client::Passage& passage) {
    passages_->Post(passage);
}

void DeskService::Emit(const Client::Passage& passage) {
    try {
        connection_->adaptor.emitPassed(passage.what, passage.peer, passage.why);
    } catch (const sdbus::Error& error) {
        LogPrint(LogType::CORE, LogLevel::WARN, LOG, "a passage was not told: %{public}s", error.getMessage());
    }
}

}  // namespace ZYNE::Companion
