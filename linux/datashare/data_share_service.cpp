#include "linux/datashare/data_share_service.h"

#include <stdexcept>
#include <system_error>
#include <utility>

#include "linux/base/log_domains.h"
#include "linux/bus/bus_wire.h"
#include "linux/datashare/share_place.h"
#include "linux/datashare/share_table.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

constexpr LogDomain LOG = LogDomains::DATA_SHARE;

// The address without the part that is new with each start of the bus, so that programs that run already can connect to
// the next one.
std::string LastingAddress(const std::string& address) {
    return address.substr(0, address.find(",guid="));
}

}  // namespace

// What exists from Start to Stop: the place, and the object that tells it to processes of apps.
struct DataShareService::Running {
    Running(SharePlace thePlace, std::shared_ptr<BusConnection> theConnection)
        : place(std::move(thePlace)), connection(std::move(theConnection)) {
        sd_bus_slot* slot = nullptr;
        const int result = connection->Use([&](sd_bus* bus) {
            const int added = BusWire::AddObject(bus, &slot, BusWire::DEFAULT_PATH, onCall);
            return added >= 0 ? sd_bus_request_name(bus, ShareToken::BUS_NAME, 0) : added;
        });
        object = BusSlot(connection, slot, nullptr);
        if (result < 0) {
            throw std::runtime_error(
                "data share cannot be served on the bus: " + std::generic_category().message(-result));
        }
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;
    ~Running() {
        connection->Use([](sd_bus* bus) { return sd_bus_release_name(bus, ShareToken::BUS_NAME); });
    }

    // On the loop's thread, as it only says where the data is.
    int Answer(sd_bus_message* message, sd_bus_error* error) const {
        BusWire::Request request;
        if (const int result = BusWire::ReadRequest(message, request, error); result < 0) {
            return result;
        }
        MessageParcel data(std::move(request.data));
        MessageParcel reply;
        const int32_t status = ShareToken::Answer(request.code, data, reply, place);
        const int result = BusWire::SendReply(message, status, status == 0 ? reply : MessageParcel());
        return result < 0 ? result : 1;
    }

    const SharePlace place;
    const std::shared_ptr<BusConnection> connection;
    BusWire::CallHandler onCall = [this](sd_bus_message* message, sd_bus_error* error) {
        return Answer(message, error);
    };
    BusSlot object;
};

DataShareService::DataShareService(DeviceBus& bus, OpenShares& shares, DeviceNotes& notes)
    : bus_(bus), shares_(shares), notes_(notes) {}

DataShareService::~DataShareService() = default;

ShareHost::Connect DataShareService::ConnectTo(DeviceBus& bus) {
    return [&bus](const SharePlace& /*place*/) {
        const std::shared_ptr<BusClient> client = bus.GetClient();
        if (!client || !client->GetConnection()->IsUp()) {
            throw std::runtime_error("the device's bus is not up");
        }
        return client->GetConnection();
    };
}

void DataShareService::Start(const std::filesystem::path& databaseFile, const std::vector<std::string>& shares) {
    const std::shared_ptr<BusClient> client = bus_.GetClient();
    if (!client) {
        throw std::runtime_error("data share needs the device's bus, which is not up");
    }
    const std::filesystem::path file = std::filesystem::absolute(databaseFile);
    ShareTable(file, notes_, true).SetProviders(shares);
    auto running = std::make_shared<Running>(
        SharePlace{file.native(), LastingAddress(bus_.GetAddress())}, client->GetConnection());
    const MutexLock lock(mutex_);
    running_ = std::move(running);
    LogPrint(LogType::CORE, LogLevel::INFO, LOG, "data share is up, apps declare %{public}zu shares", shares.size());
}

void DataShareService::Stop() {
    std::shared_ptr<Running> running;
    {
        const MutexLock lock(mutex_);
        running.swap(running_);
    }
    if (running) {
        shares_.Close(running->place);
    }
}

int32_t DataShareService::SendRequest(
    uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& /*option*/) {
    std::shared_ptr<Running> running;
    {
        const MutexLock lock(mutex_);
        running = running_;
    }
    return running && ShareToken::Answer(code, data, reply, running->place) == 0 ? OK : REFUSED;
}

}  // namespace ZYNE::Linux
