#include "linux/datashare/data_share_service.h"

#include <stdexcept>
#include <thread>
#include <utility>

#include "linux/base/log_domains.h"
#include "linux/bus/bus_server.h"
#include "linux/bus/bus_wire.h"
#include "linux/datashare/device_shares.h"
#include "linux/datashare/share_place.h"
#include "linux/datashare/share_table.h"
#include "linux/services/device_bus.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

constexpr LogDomain LOG = LogDomains::DATA_SHARE;

// The address without what is new with each start of the bus: programs that are there already connect to the next one.
std::string LastingAddress(const std::string& address) {
    return address.substr(0, address.find(",guid="));
}

}  // namespace

// What is there from Start to Stop: the place, and the thread that tells it to processes of apps.
struct DataShareService::Running {
    explicit Running(SharePlace thePlace) : place(std::move(thePlace)), server(place.busAddress) {
        server.Serve(BusWire::DEFAULT_PATH,
            [this](uint32_t code, MessageParcel& data, MessageParcel& reply, const IPCContext& /*context*/) {
                return ShareToken::Answer(code, data, reply, place);
            });
        server.OwnName(ShareToken::BUS_NAME);
        thread = std::thread([this] { server.Run(); });
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;
    ~Running() {
        server.Stop();
        thread.join();
    }

    const SharePlace place;
    BusServer server;
    std::thread thread;
};

DataShareService::DataShareService() = default;

DataShareService::~DataShareService() = default;

sptr<DataShareService> DataShareService::GetInstance() {
    static auto& instance = *new sptr<DataShareService>(new DataShareService());
    return instance;
}

void DataShareService::Start(const std::filesystem::path& databaseFile, const std::vector<std::string>& shares) {
    const std::string address = DeviceBus::GetInstance().GetAddress();
    if (address.empty()) {
        throw std::runtime_error("data share needs the device's bus, which is not up");
    }
    const std::filesystem::path file = std::filesystem::absolute(databaseFile);
    ShareTable(file, true).SetProviders(shares);
    auto running = std::make_shared<Running>(SharePlace{file.native(), LastingAddress(address)});
    const std::scoped_lock lock(mutex_);
    running_ = std::move(running);
    LogPrint(LogType::CORE, LogLevel::INFO, LOG, "data share is up, apps declare %{public}zu shares", shares.size());
}

void DataShareService::Stop() {
    std::shared_ptr<Running> running;
    {
        const std::scoped_lock lock(mutex_);
        running.swap(running_);
    }
    if (running) {
        DeviceShares::Close(running->place);
    }
}

int32_t DataShareService::SendRequest(
    uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& /*option*/) {
    std::shared_ptr<Running> running;
    {
        const std::scoped_lock lock(mutex_);
        running = running_;
    }
    return running && ShareToken::Answer(code, data, reply, running->place) == 0 ? OK : REFUSED;
}

}  // namespace ZYNE::Linux
