#include "client/data_share.h"

#include <cstdlib>

#include "linux/base/log_domains.h"
#include "linux/bus/bus_address.h"
#include "linux/bus/bus_caller.h"
#include "linux/bus/bus_wire.h"
#include "linux/bus/remote_object.h"
#include "linux/datashare/linux_data_share_helper.h"
#include "linux/datashare/share_place.h"
#include "platform/log/log_print.h"

namespace ZYNE::Client {
namespace {

constexpr LogDomain LOG = Linux::LogDomains::DATA_SHARE;
constexpr char ADDRESS_VARIABLE[] = "DBUS_STARTER_ADDRESS";
constexpr int WAIT_TIME_SECONDS = 2;

// The program's, for all devices that it uses. Never destroyed: helpers may be used until the process ends.
struct Program {
    Linux::ThreadPool pool;
    Linux::DeviceNotes notes;
    Linux::EventLoop loop{"share-bus"};
    Linux::OpenShares shares{{pool, notes, [this](const Linux::SharePlace& place) {
                                  return Linux::BusConnection::Make(loop, Linux::OpenBus(place.busAddress));
                              }}};

    static Program& Get() {
        static auto& program = *new Program();
        return program;
    }
};

// The token is asked once and never watched, so it never posts anything.
std::shared_ptr<DataShareHelper> OpenOnBus(const std::string& address, const std::string& uri) {
    const auto token = MakeSptr<Linux::RemoteObject>(std::make_shared<Linux::BusCaller>(address), Linux::Post(),
        Linux::ShareToken::BUS_NAME, Linux::BusWire::DEFAULT_PATH);
    return Linux::MakeDataShareHelper(Program::Get().shares, token, uri, "", WAIT_TIME_SECONDS);
}

}  // namespace

std::shared_ptr<DataShareHelper> OpenDataShare(const std::string& uri) {
    const char* address = std::getenv(ADDRESS_VARIABLE);
    if (address == nullptr) {
        LogPrint(LogType::CORE, LogLevel::ERROR, LOG,
            "no data share: no device's bus started this program, %{public}s is not set", ADDRESS_VARIABLE);
        return nullptr;
    }
    return OpenOnBus(address, uri);
}

std::shared_ptr<DataShareHelper> OpenDataShare(const DeviceEntry& device, const std::string& uri) {
    return OpenOnBus(device.busAddress, uri);
}

}  // namespace ZYNE::Client
