#include "linux/account/credentials.h"

#include <stdexcept>

#include <unistd.h>

#include "linux/account/certificate.h"
#include "linux/account/device_files.h"

namespace ZYNE::Linux {
namespace {

namespace fs = std::filesystem;

void CheckHasMeetingKey(const fs::path& directory) {
    const fs::path file = directory / CredentialFiles::MEETING_KEY;
    if (!fs::exists(file)) {
        throw std::runtime_error(file.string() +
            " is missing: the credentials are of an earlier version, renew them with "
            "collabctl device renew --account DIR --directory " +
            directory.string());
    }
}

}  // namespace

Credentials LoadCredentials(const fs::path& directory) {
    const uid_t user = geteuid();
    const DeviceFiles device = ReadDeviceFiles(directory, user, Expired::REFUSED);
    CheckHasMeetingKey(directory);
    return {fs::absolute(directory), device.udid, CommonName(*device.authority), ToPem(*device.authority),
        ToPem(*device.certificate), ToPem(*device.key), ReadMeetingKey(directory, user),
        EndOfValidity(*device.certificate)};
}

}  // namespace ZYNE::Linux
