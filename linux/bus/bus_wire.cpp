#include "linux/bus/bus_wire.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <cerrno>
#include <string_view>

#include "linux/base/unique_fd.h"
#include "linux/base/write_all.h"
#include "platform/ipc/parcel.h"

namespace ZYNE::Linux::BusWire {
namespace {

constexpr int SEALS = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE;

int AppendFile(sd_bus_message* message, const std::vector<uint8_t>& bytes) {
    const UniqueFd file(memfd_create("parcel", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    const std::string_view content(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (!file || !WriteAll(file.Get(), content) || fcntl(file.Get(), F_ADD_SEALS, SEALS | F_SEAL_SEAL) < 0) {
        return -EIO;
    }
    return sd_bus_message_append(message, "v", "h", file.Get());
}

// The sender may have sent any descriptor: nothing is read before the seals say that it is a memory file at rest.
int ReadFile(int fd, std::vector<uint8_t>& bytes) {
    const int seals = fcntl(fd, F_GET_SEALS);
    struct stat status {};
    if (seals < 0 || (seals & SEALS) != SEALS || fstat(fd, &status) < 0 || !S_ISREG(status.st_mode)) {
        return -EBADMSG;
    }
    if (static_cast<size_t>(status.st_size) > Parcel::MAX_SIZE) {
        return -EMSGSIZE;
    }
    bytes.resize(static_cast<size_t>(status.st_size));
    for (size_t done = 0; done < bytes.size();) {
        const ssize_t step = pread(fd, bytes.data() + done, bytes.size() - done, static_cast<off_t>(done));
        if (step > 0) {
            done += static_cast<size_t>(step);
        } else if (step == 0 || errno != EINTR) {
            return -EBADMSG;
        }
    }
    return 0;
}

int AppendInline(sd_bus_message* message, const std::vector<uint8_t>& bytes) {
    int result = sd_bus_message_open_container(message, SD_BUS_TYPE_VARIANT, "ay");
    if (result >= 0) {
        result = sd_bus_message_append_array(message, SD_BUS_TYPE_BYTE, bytes.data(), bytes.size());
    }
    return result >= 0 ? sd_bus_message_close_container(message) : result;
}

int ReadInline(sd_bus_message* message, std::vector<uint8_t>& bytes) {
    const void* data = nullptr;
    size_t size = 0;
    if (sd_bus_message_read_array(message, SD_BUS_TYPE_BYTE, &data, &size) < 0) {
        return -EBADMSG;
    }
    const auto* first = static_cast<const uint8_t*>(data);
    bytes.assign(first, first + size);
    return 0;
}

}  // namespace

int AppendBytes(sd_bus_message* message, const std::vector<uint8_t>& bytes) {
    if (bytes.size() > Parcel::MAX_SIZE) {
        return -EMSGSIZE;
    }
    return bytes.size() <= INLINE_LIMIT ? AppendInline(message, bytes) : AppendFile(message, bytes);
}

int ReadBytes(sd_bus_message* message, std::vector<uint8_t>& bytes) {
    char type = 0;
    const char* contents = nullptr;
    if (sd_bus_message_peek_type(message, &type, &contents) <= 0 || type != SD_BUS_TYPE_VARIANT) {
        return -EBADMSG;
    }
    const bool isInline = std::string_view(contents) == "ay";
    const bool isFile = std::string_view(contents) == "h";
    if ((!isInline && !isFile) || sd_bus_message_enter_container(message, SD_BUS_TYPE_VARIANT, contents) <= 0) {
        return -EBADMSG;
    }
    int result = -EBADMSG;
    int fd = -1;  // the message's own
    if (isInline) {
        result = ReadInline(message, bytes);
    } else if (sd_bus_message_read(message, "h", &fd) > 0) {
        result = ReadFile(fd, bytes);
    }
    return result >= 0 ? sd_bus_message_exit_container(message) : result;
}

}  // namespace ZYNE::Linux::BusWire
