#include "linux/base/write_all.h"

#include <cerrno>
#include <cstddef>

#include <unistd.h>

namespace ZYNE::Linux {

bool WriteAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) {
            return false;
        }
        bytes.remove_prefix(written < 0 ? 0 : static_cast<size_t>(written));
    }
    return true;
}

}  // namespace ZYNE::Linux
