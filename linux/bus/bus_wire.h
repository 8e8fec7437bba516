// How parcels travel over D-Bus.
//
// A served object has a path and an interface, in a process that the device's bus has started a second one, and in one
// that can be asked without the bus in between a third:
//
//     com.zyne.RemoteObject   Call(in u code, in v data, out i status, out v reply)
//     com.zyne.Process        Stop()
//     com.zyne.Lines          Connect(in h socket)
//
// `data` and `reply` are the bytes of a parcel: an `ay` up to INLINE_LIMIT, above that an `h`, the descriptor of a
// memory file that holds them from its first to its last byte. The file is sealed against writing, growing and
// shrinking, so that neither side can change it while the other reads; a file without the seals, or of more than
// Parcel::MAX_SIZE bytes, is refused. The bus copies inline bytes twice and passes a descriptor on as it is.
//
// `status` is 0, or the object's reason to refuse the request; `reply` is then empty. Refusals can also be D-Bus
// errors: from the bus (no such object) or from the object's process (the message is not a request).
//
// Stop asks the process that serves the object to end. Connect hands it one end of a socket, on which it serves its
// objects as well from then on, with D-Bus and without a bus. Only the device may do either; others get AccessDenied.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <systemd/sd-bus.h>

#include "platform/ipc/message_parcel.h"

namespace ZYNE::Linux::BusWire {

inline constexpr char OBJECT_INTERFACE[] = "com.zyne.RemoteObject";
inline constexpr char CALL[] = "Call";
inline constexpr char PROCESS_INTERFACE[] = "com.zyne.Process";
inline constexpr char STOP[] = "Stop";
inline constexpr char LINES_INTERFACE[] = "com.zyne.Lines";
inline constexpr char CONNECT[] = "Connect";

// Where a process serves its object unless another path is agreed.
inline constexpr char DEFAULT_PATH[] = "/com/zyne/Object";

inline constexpr size_t INLINE_LIMIT = 16u << 10;  // bytes

// Adds `bytes` to a message. Negative: an error number, -EMSGSIZE for more than a parcel holds.
int AppendBytes(sd_bus_message* message, const std::vector<uint8_t>& bytes);

// Takes bytes out of a message that somebody else wrote. Negative: an error number, -EMSGSIZE for more than a parcel
// holds, -EBADMSG for what is not as described above.
int ReadBytes(sd_bus_message* message, std::vector<uint8_t>& bytes);

// Reads a call with ReadRequest and answers it with SendReply, now or later. Throws nothing. Returns what sd-bus wants
// of a handler.
using CallHandler = std::function<int(sd_bus_message* message, sd_bus_error* error)>;

// Serves Call at `path` until `slot` ends; `onCall` must live as long.
int AddObject(sd_bus* bus, sd_bus_slot** slot, const std::string& path, CallHandler& onCall);

struct Request {
    uint32_t code = 0;
    std::vector<uint8_t> data;
};

// Takes a request apart. Negative when the message is not a request, with what the caller is told in `error`.
int ReadRequest(sd_bus_message* message, Request& request, sd_bus_error* error);

// Answers `question`. Negative: an error number, which the caller has been told.
int SendReply(sd_bus_message* question, int32_t status, const MessageParcel& reply);

}  // namespace ZYNE::Linux::BusWire
