#include "host/device_api.h"

#include <algorithm>
#include <exception>
#include <map>
#include <stdexcept>
#include <tuple>
#include <utility>

#include <sdbus-c++/sdbus-c++.h>

#include "client/device_api_adaptor.h"
#include "host/device_type_name.h"
#include "host/peer_choice.h"
#include "platform/host/asyn_thread_pool.h"
#include "platform/ipc/string_conversion.h"
#include "platform/log/log_print.h"
#include "plugin/info_collection/info_collection_service.h"

namespace ZYNE::Host {
namespace {

using CollaborationFwk::AsynThreadPool;
using CollaborationFwk::DeviceDynamicInfo;
using CollaborationFwk::InfoCollectionService;

constexpr LogDomain LOG{0xD004640, "Device"};
constexpr const char* BUS_NAME = "io.collaborationfwk.Device1";
constexpr const char* OBJECT_PATH = "/io/collaborationfwk/Device1";
constexpr const char* CALLER = "device_api";  // travels with each request
constexpr int32_t INFO_COLLECTION = 2;

// The bus takes messages of 16 MiB and cuts off whoever sends a larger one. Peers' answers are well below it.
constexpr size_t MOST_REPLY_BYTES = size_t{15} << 20U;

using Device = sdbus::Struct<std::string, std::string, std::string, bool, bool>;
using Record = sdbus::Struct<std::string, std::string>;
using InfoResult = sdbus::Result<int32_t, std::vector<Record>>;

sdbus::Error ApiError(const char* name, const std::string& message) {
    return {std::string("io.collaborationfwk.Error.") + name, message};
}

// A peer may send any bytes; the bus takes UTF-8 without zero bytes alone and drops whoever sends anything else.
std::string BusText(const std::string& text) {
    std::u16string characters = Str8ToStr16(text);
    std::ranges::replace(characters, u'\0', u'\ufffd');
    return Str16ToStr8(characters);
}

// In the order of `names`: the library answers in that of a hash table.
std::vector<Record> InOrder(const std::vector<DeviceDynamicInfo>& answered, const std::vector<std::string>& names) {
    std::map<std::string, std::string> values;
    for (const DeviceDynamicInfo& info : answered) {
        values[info.GetKey()] = info.GetValue();
    }
    std::vector<Record> records;
    records.reserve(names.size());
    for (const std::string& name : names) {
        records.emplace_back(name, BusText(values[name]));
    }
    return records;
}

size_t Bytes(const std::vector<Record>& records) {
    constexpr size_t BESIDES_TEXT = 32;  // lengths, ends and padding of one record
    size_t bytes = 0;
    for (const Record& record : records) {
        bytes += std::get<0>(record).size() + std::get<1>(record).size() + BESIDES_TEXT;
    }
    return bytes;
}

void AskPeer(const KnownPeer& peer, const std::vector<std::string>& names, const InfoResult& result) {
    const sptr<CollaborationFwk::DeviceInfo> device(
        new CollaborationFwk::DeviceInfo(peer.udid, peer.networkId, peer.name, peer.type));
    std::vector<DeviceDynamicInfo> answered;
    const int32_t code =
        InfoCollectionService::GetInstance().GetRemoteDeviceDynamicInfo(*device, CALLER, names, answered);
    const std::vector<Record> records = code == 0 ? InOrder(answered, names) : std::vector<Record>();
    if (Bytes(records) > MOST_REPLY_BYTES) {
        result.returnError(
            ApiError("TooLarge", "the answer of \"" + BusText(peer.name) + "\" is too large for the bus"));
        return;
    }
    result.returnResults(code, records);
}

}  // namespace

class DeviceApi::Adaptor final : public sdbus::AdaptorInterfaces<io::collaborationfwk::Device1_adaptor> {
public:
    Adaptor(sdbus::IConnection& connection, const Options& options)
        : AdaptorInterfaces(connection, OBJECT_PATH), options_(options) {
        registerAdaptor();
    }
    Adaptor(const Adaptor&) = delete;
    Adaptor& operator=(const Adaptor&) = delete;
    ~Adaptor() { unregisterAdaptor(); }

private:
    std::vector<Device> ListDevices() override {
        std::vector<KnownPeer> peers = options_.peers();
        std::ranges::sort(peers, {}, [](const KnownPeer& peer) { return std::tie(peer.name, peer.udid); });
        std::vector<Device> devices;
        devices.reserve(peers.size());
        for (const KnownPeer& peer : peers) {
            devices.emplace_back(
                BusText(peer.name), DeviceTypeName(peer.type), ShortId(peer), peer.online, peer.sameAccount);
        }
        return devices;
    }

    void GetInfo(InfoResult&& result, std::string peer, std::vector<std::string> names) override {
        const auto answer = std::make_shared<InfoResult>(std::move(result));
        const bool accepted = AsynThreadPool::GetInstance()->AddAsynTask(
            [this, answer, peer = std::move(peer), names = std::move(names)] { Answer(*answer, peer, names); },
            INFO_COLLECTION);
        if (!accepted) {
            answer->returnError(ApiError("Busy", "too many requests are under way, or the device is stopping"));
        }
    }

    void Answer(const InfoResult& result, const std::string& peer, const std::vector<std::string>& names) const {
        try {
            AskPeer(ChoosePeer(options_.peers(), peer), names, result);
        } catch (const UnknownPeer& error) {
            result.returnError(ApiError("UnknownPeer", error.what()));
        } catch (const AmbiguousPeer& error) {
            result.returnError(ApiError("AmbiguousPeer", error.what()));
        }
    }

    std::string Name() override { return options_.deviceName; }
    std::string Type() override { return options_.deviceType; }
    std::string AccountMode() override { return options_.accountMode; }

    const Options& options_;
};

DeviceApi::DeviceApi(Options options) : options_(std::move(options)) {
    try {
        connection_ = sdbus::createSessionBusConnectionWithAddress(options_.busAddress);
        adaptor_ = std::make_unique<Adaptor>(*connection_, options_);
        connection_->requestName(BUS_NAME);
    } catch (const sdbus::Error& error) {
        throw std::runtime_error("the device's interface cannot be served on its bus: " + error.getMessage());
    }
    server_ = std::thread([this] { Serve(); });
}

void DeviceApi::Serve() {
    try {
        connection_->enterEventLoop();
    } catch (const std::exception& error) {
        LogPrint(LogType::CORE, LogLevel::ERROR, LOG, "the bus was lost: %{public}s", error.what());
    }
    if (!stopping_) {
        options_.onLost();
    }
}

void DeviceApi::Stop() {
    stopping_ = true;
    if (server_.joinable()) {
        connection_->leaveEventLoop();
        server_.join();
    }
}

DeviceApi::~DeviceApi() {
    Stop();
}

void DeviceApi::TellDevicesChanged() {
    try {
        adaptor_->emitDevicesChanged();
    } catch (const sdbus::Error& error) {
        LogPrint(LogType::CORE, LogLevel::WARN, LOG, "DevicesChanged was not sent: %{public}s", error.what());
    }
}

}  // namespace ZYNE::Host
