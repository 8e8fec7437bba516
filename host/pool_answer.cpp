#include "host/pool_answer.h"

#include "host/bus_text.h"
#include "platform/host/asyn_thread_pool.h"
#include "platform/log/log_print.h"

namespace ZYNE::Host {
namespace {

constexpr LogDomain LOG{0xD004640, "Device"};
constexpr int32_t INFO_COLLECTION = 2;

}  // namespace

bool RunOnPool(std::function<void()> task) {
    return CollaborationFwk::AsynThreadPool::GetInstance()->AddAsynTask(std::move(task), INFO_COLLECTION);
}

sdbus::Error BusError(const ApiError& error) {
    return {"io.collaborationfwk.Error." + error.Name(), BusText(error.what())};
}

void SendAnswer(const std::function<void()>& send) {
    try {
        send();
    } catch (const sdbus::Error& error) {
        LogPrint(LogType::CORE, LogLevel::WARN, LOG, "a program was not answered: %{public}s", error.getMessage());
    }
}

}  // namespace ZYNE::Host
