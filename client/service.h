// A service of a device: a process that the device's bus starts when somebody needs it, and that answers requests.
//
//     int main() {
//         return ZYNE::Client::RunService("org.example.Greeter",
//             [](uint32_t code, ZYNE::MessageParcel& data, ZYNE::MessageParcel& reply, const ZYNE::IPCContext&) {
//                 if (code != 1 || data.ReadInterfaceToken() != u"ZYNE.Example.IGreeter") {
//                     return -1;
//                 }
//                 reply.WriteString("hello " + data.ReadString());
//                 return 0;
//             });
//     }
//
// For a system service, name the same bus name and the executable in the device's table of system services; for an
// app's extension, name the executable in the app's manifest.json. The process ends by itself when the device asks it
// to, or when the device is gone.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "platform/ipc/ipc_context.h"
#include "platform/ipc/message_parcel.h"

namespace ZYNE::Client {

// Answers one request: reads `data`, writes `reply`, returns 0; any other result refuses the request, and the caller
// gets no reply. `context` tells which process asks. Called on several threads at once, so a slow answer holds up no
// other. An exception refuses the request and is printed on standard error.
using RequestHandler =
    std::function<int32_t(uint32_t code, MessageParcel& data, MessageParcel& reply, const IPCContext& context)>;

// What an extension is told apart from requests. Either may be empty; an exception is printed on standard error.
struct ExtensionEvents {
    std::function<void()> connected;     // before the first request: whoever connected first had the process started
    std::function<void()> disconnected;  // after the last request: the last one has disconnected, or the device is gone
};

// Serves until the device asks to end or is gone. The process's exit status: 0, or 1 with a line on standard error when
// there is no bus or the name is taken. The bus is the one that started the process; DBUS_STARTER_ADDRESS names it.
int RunService(const std::string& busName, const RequestHandler& handler);

// The same for extension `extensionName` of app `bundleName`, as its manifest names both. It runs from the first
// connection to the end of the last; a process that is killed is told nothing.
int RunExtension(const std::string& bundleName, const std::string& extensionName, const RequestHandler& handler,
    const ExtensionEvents& events = {});

}  // namespace ZYNE::Client
