#include "host/device_api.h"

#include <poll.h>

#include <exception>
#include <optional>
#include <stdexcept>
#include <tuple>
#include <utility>

#include <sdbus-c++/sdbus-c++.h>

#include "client/bus_library.h"
#include "client/device_api_adaptor.h"
#include "host/api_error.h"
#include "host/bus_text.h"
#include "host/channel_api.h"
#include "host/crossing_api.h"
#include "host/device_type_name.h"
#include "host/info_api.h"
#include "host/peer_choice.h"
#include "host/profile_api.h"
#include "host/program_calls.h"
#include "host/setting_api.h"
#include "host/status_api.h"
#include "linux/base/log_domains.h"
#include "platform/log/log_print.h"

namespace ZYNE::Host {
namespace {

constexpr LogDomain LOG = Linux::LogDomains::DEVICE;
constexpr const char* BUS_NAME = "io.collaborationfwk.Device1";
constexpr const char* OBJECT_PATH = "/io/collaborationfwk/Device1";

using Device = sdbus::Struct<std::string, std::string, std::string, bool, bool>;
using Profile = sdbus::Struct<std::string, std::string, std::string, std::string, std::string, std::string, bool>;

std::string SettingText(const std::string& key, int32_t user) {
    const std::optional<std::string> value = ReadSetting(key, user);
    if (!value) {
        throw ApiError("NotFound", "there is no setting \"" + key + "\"");
    }
    return BusText(*value);
}

}  // namespace

class DeviceApi::Adaptor final : public sdbus::AdaptorInterfaces<io::collaborationfwk::Device1_adaptor> {
public:
    Adaptor(sdbus::IConnection& connection, const Options& options, ProgramCalls& calls)
        : AdaptorInterfaces(connection, sdbus::ObjectPath(OBJECT_PATH)), options_(options), calls_(calls),
          profiles_(options.device.profiles, options.peers) {
        registerAdaptor();
    }
    Adaptor(const Adaptor&) = delete;
    Adaptor& operator=(const Adaptor&) = delete;
    ~Adaptor() { unregisterAdaptor(); }

    void TellProfileChanged(Linux::ProfileChange change, const CharacteristicProfile& profile) {
        const auto [what, entry] = profiles_.Describe(change, profile);
        emitProfileChanged(what, entry.deviceName, entry.deviceId, entry.service, entry.key, entry.value, entry.whole);
    }

private:
    std::vector<Device> ListDevices() override {
        std::vector<KnownPeer> peers = options_.peers();
        SortByName(peers);
        std::vector<Device> devices;
        devices.reserve(peers.size());
        for (const KnownPeer& peer : peers) {
            devices.emplace_back(
                BusText(peer.name), DeviceTypeName(peer.type), ShortId(peer.udid), peer.online, peer.sameAccount);
        }
        return devices;
    }

    void GetInfo(sdbus::Result<int32_t, std::vector<InfoAnswer::Record>>&& result, std::string peer,
        std::vector<std::string> names) override {
        try {
            const KnownPeer asked = ChoosePeer(options_.peers(), peer);
            ProgramCalls::Caller caller = Caller(peer);
            for (const std::string& name : names) {
                caller.bytes += sizeof(std::string) + name.size();
            }
            calls_.AnswerForPeer(std::move(result), std::move(caller), asked.udid, [asked, names = std::move(names)] {
                InfoAnswer answer = AskPeer(asked, names);
                return std::tuple(answer.code, std::move(answer.records));
            });
        } catch (const ApiError& error) {
            SendAnswer([&] { result.returnError(BusError(error)); });
        }
    }

    void GetProfile(sdbus::Result<std::string>&& result, std::string device, std::string service,
        std::string serviceType, std::string key) override {
        calls_.Answer(
            std::move(result), Caller(device, service, serviceType, key), [this, device, service, serviceType, key] {
                return std::tuple(profiles_.Get(device, service, serviceType, key));
            });
    }

    void PutProfile(sdbus::Result<int32_t>&& result, std::string service, std::string serviceType, std::string key,
        std::string value) override {
        ProgramCalls::Caller caller = Caller(service, serviceType, key, value);
        calls_.Answer(std::move(result), std::move(caller),
            [this, service = std::move(service), serviceType = std::move(serviceType), key = std::move(key),
                value = std::move(value)] { return std::tuple(profiles_.Put(service, serviceType, key, value)); });
    }

    void DeleteProfile(sdbus::Result<int32_t>&& result, std::string service, std::string key) override {
        calls_.Answer(std::move(result), Caller(service, key),
            [this, service, key] { return std::tuple(profiles_.Delete(service, key)); });
    }

    void ListProfiles(sdbus::Result<std::vector<Profile>>&& result, std::string device) override {
        calls_.Answer(std::move(result), Caller(device), [this, device] {
            std::vector<Profile> profiles;
            for (const ProfileApi::Entry& each : profiles_.List(device)) {
                profiles.emplace_back(
                    each.deviceName, each.deviceId, each.service, each.serviceType, each.key, each.value, each.whole);
            }
            return std::tuple(std::move(profiles));
        });
    }

    void GetSetup(sdbus::Result<bool, std::vector<Setup::Setting>>&& result) override {
        calls_.Answer(std::move(result), Caller(), [] {
            Setup setup = ReadSetup();
            return std::tuple(setup.complete, std::move(setup.settings));
        });
    }

    void GetNetwork(sdbus::Result<std::string, std::vector<NetworkAnswer::Interface>, uint16_t,
        std::vector<NetworkAnswer::Pair>, std::vector<NetworkAnswer::Pair>>&& result) override {
        calls_.Answer(std::move(result), Caller(), [this] { return DescribeNetwork(options_.network()); });
    }

    void GetSetting(sdbus::Result<std::string>&& result, std::string key, int32_t user) override {
        calls_.Answer(std::move(result), Caller(key), [key, user] { return std::tuple(SettingText(key, user)); });
    }

    void PutSetting(sdbus::Result<>&& result, std::string key, std::string value, int32_t user) override {
        ProgramCalls::Caller caller = Caller(key, value);
        calls_.Answer(std::move(result), std::move(caller), [key = std::move(key), value = std::move(value), user] {
            WriteSetting(key, value, user);
            return std::tuple();
        });
    }

    void TakeRevocations(sdbus::Result<bool>&& result, std::string document) override {
        ProgramCalls::Caller caller = Caller(document);
        calls_.Answer(std::move(result), std::move(caller), [this, document = std::move(document)] {
            return std::tuple(options_.device.network.TakeRevocations(document));
        });
    }

    // The program that is calling, with the size of its arguments.
    ProgramCalls::Caller Caller(const auto&... arguments) const {
        return {Client::CallingConnection(getObject()), (arguments.size() + ... + 0)};
    }

    std::string Name() override { return options_.deviceName; }
    std::string Type() override { return options_.deviceType; }
    std::string AccountMode() override { return options_.accountMode; }

    const Options& options_;
    ProgramCalls& calls_;
    const ProfileApi profiles_;
};

DeviceApi::DeviceApi(Options options)
    : options_(std::move(options)), calls_(std::make_unique<ProgramCalls>(options_.device.pool, [this] { Wake(); })) {
    try {
        connection_ = sdbus::createSessionBusConnectionWithAddress(options_.device.bus.GetAddress());
        adaptor_ = std::make_unique<Adaptor>(*connection_, options_, *calls_);
        crossing_ = std::make_unique<CrossingApi>(*connection_, OBJECT_PATH,
            CrossingApi::Options{options_.device, options_.peers, *calls_, options_.display, options_.desk});
        channels_ = std::make_unique<ChannelApi>(
            *connection_, OBJECT_PATH, ChannelApi::Options{options_.device, options_.peers, [this] {
                                                               Wake();
                                                           }});
        connection_->requestName(Client::BusName(BUS_NAME));
    } catch (const sdbus::Error& error) {
        throw std::runtime_error("the device's interface cannot be served on its bus: " + error.getMessage());
    }
    Linux::EventLoop& loop = *options_.device.bus.GetLoop();
    loop.Run([&] {
        pump_ = std::make_unique<Linux::BusPump>(loop,
            Linux::BusPump::Connection{[this] { return Process(); },
                [this] {
                    return GetInterest();
                }});
    });
}

int DeviceApi::Process() {
    try {
        return Client::ProcessPending(*connection_) ? 1 : 0;
    } catch (const std::exception& error) {
        LogPrint(LogType::CORE, LogLevel::ERROR, LOG, "the bus was lost: %{public}s", error.what());
        options_.onLost();
        return -1;
    }
}

Linux::BusInterest DeviceApi::GetInterest() const {
    const sdbus::IConnection::PollData data = connection_->getEventLoopPollData();
    return {data.fd, data.events, Client::PollDeadline(data)};
}

// Another thread has used the connection: the loop is woken where something had no room, or has been read.
void DeviceApi::Wake() {
    try {
        if (GetInterest().events == POLLIN) {
            return;
        }
    } catch (const sdbus::Error&) {
        // The loop finds out why.
    }
    options_.device.bus.GetLoop()->Post([this] {
        if (pump_) {
            pump_->Work();
        }
    });
}

void DeviceApi::Stop() {
    if (!stopping_.exchange(true)) {
        options_.device.bus.GetLoop()->Run([this] { pump_.reset(); });
        calls_->Close();
    }
}

DeviceApi::~DeviceApi() {
    Stop();
}

// Signals that cannot be sent are logged: nobody waits for them.
void DeviceApi::Emit(const char* signal, const std::function<void()>& emit) {
    try {
        emit();
        Wake();
    } catch (const std::exception& error) {
        LogPrint(LogType::CORE, LogLevel::WARN, LOG, "%{public}s was not sent: %{public}s", signal, error.what());
    }
}

void DeviceApi::TellDevicesChanged() {
    Emit("DevicesChanged", [this] { adaptor_->emitDevicesChanged(); });
}

void DeviceApi::TellScreenChanged(Linux::ScreenStatus status) {
    Emit("ScreenChanged", [&] { crossing_->TellScreenChanged(status); });
}

void DeviceApi::TellProfileChanged(Linux::ProfileChange change, const CharacteristicProfile& profile) {
    Emit("ProfileChanged", [&] { adaptor_->TellProfileChanged(change, profile); });
}

}  // namespace ZYNE::Host
