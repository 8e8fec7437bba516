#include "host/device_identity.h"

#include <fstream>
#include <stdexcept>

#include "linux/account/udid.h"
#include "linux/base/kept_file.h"

namespace ZYNE::Host {
namespace {

namespace fs = std::filesystem;

}  // namespace

std::string KeptUdid(const fs::path& stateDirectory) {
    const fs::path file = stateDirectory / "udid";
    std::string udid;
    if (!fs::exists(file)) {
        udid = Linux::NewUdid();
        Linux::WriteKeptFile(file, udid + '\n');
        return udid;
    }
    std::ifstream(file) >> udid;
    if (!Linux::IsUdid(udid)) {
        throw std::runtime_error(file.string() + " does not hold a udid");
    }
    return udid;
}

}  // namespace ZYNE::Host
