// The log of a process that is no device.
#include "linux/log/linux_log.h"

namespace ZYNE {

LogService& LogService::GetInstance() {
    return Linux::LinuxLog::Get();
}

}  // namespace ZYNE
