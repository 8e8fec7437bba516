#include "host/device_identity.h"

#include <fstream>
#include <stdexcept>

#include "linux/account/udid.h"

namespace ZYNE::Host {
namespace {

namespace fs = std::filesystem;

// Written aside and renamed: a device that is killed meanwhile has no half identity.
void Keep(const std::string& udid, const fs::path& file) {
    fs::path written = file;
    written += ".new";
    if (!(std::ofstream(written) << udid << '\n' << std::flush)) {
        throw std::runtime_error(written.string() + " cannot be written");
    }
    fs::rename(written, file);
}

}  // namespace

std::string KeptUdid(const fs::path& stateDirectory) {
    const fs::path file = stateDirectory / "udid";
    std::string udid;
    if (!fs::exists(file)) {
        udid = Linux::NewUdid();
        Keep(udid, file);
        return udid;
    }
    std::ifstream(file) >> udid;
    if (!Linux::IsUdid(udid)) {
        throw std::runtime_error(file.string() + " does not hold a udid");
    }
    return udid;
}

}  // namespace ZYNE::Host
