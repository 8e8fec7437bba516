#include "linux/bus/bus_wire.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <cerrno>
#include <new>
#include <string_view>

#include "linux/base/unique_fd.h"
#include "linux/base/write_all.h"
#include "linux/bus/bus_handles.h"
#include "platform/ipc/parcel.h"

namespace ZYNE::Linux::BusWire {
namespace {

constexpr int SEALS = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE;

int PassOn(sd_bus_message* message, void* onCall, sd_bus_error* error) {
    return (*static_cast<CallHandler*>(onCall))(message, error);
}

int AppendFile(sd_bus_message* message, const std::vector<uint8_t>& bytes) {
    const UniqueFd file(memfd_create("parcel", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    const std::string_view content(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (!file || !WriteAll(file.Get(), content) || fcntl(file.Get(), F_ADD_SEALS, SEALS | F_SEAL_SEAL) < 0) {
        return -EIO;
    }
    return sd_bus_message_append(message, "v", "h", file.Get());
}

// The sender may have sent any descriptor: nothing is read before the seals show that it is a memory file that cannot
// change.
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

int AddObject(sd_bus* bus, sd_bus_slot** slot, const std::string& path, CallHandler& onCall) {
    static const sd_bus_vtable OBJECT[] = {SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD_WITH_ARGS(CALL, SD_BUS_ARGS("u", code, "v", data), SD_BUS_RESULT("i", status, "v", reply),
            &PassOn, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END};
    return sd_bus_add_object_vtable(bus, slot, path.c_str(), OBJECT_INTERFACE, OBJECT, &onCall);
}

int ReadRequest(sd_bus_message* message, Request& request, sd_bus_error* error) {
    int result = sd_bus_message_read(message, "u", &request.code);
    try {
        result = result > 0 ? ReadBytes(message, request.data) : -EBADMSG;
    } catch (const std::bad_alloc&) {
        result = -EMSGSIZE;
    }
    if (result == -EMSGSIZE) {
        return sd_bus_error_set(error, SD_BUS_ERROR_LIMITS_EXCEEDED, "the request is too large");
    }
    return result < 0 ? sd_bus_error_set(error, SD_BUS_ERROR_INVALID_ARGS, "the message is no request") : 0;
}

int SendReply(sd_bus_message* question, int32_t status, const MessageParcel& reply) {
    sd_bus_message* raw = nullptr;
    int result = sd_bus_message_new_method_return(question, &raw);
    const MessageHandle answer(raw);
    if (result >= 0) {
        result = sd_bus_message_append(raw, "i", status);
    }
    if (result >= 0) {
        result = AppendBytes(raw, reply.GetBytes());
    }
    if (result >= 0) {
        result = sd_bus_send(sd_bus_message_get_bus(question), raw, nullptr);
    }
    if (result < 0) {
        sd_bus_reply_method_errno(question, -result, nullptr);
    }
    return result;
}

}  // namespace ZYNE::Linux::BusWire
