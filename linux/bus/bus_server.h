// Serves objects of this process on the bus.
//
//     BusServer server(address);
//     server.Serve(BusWire::DEFAULT_PATH, [](uint32_t, MessageParcel&, MessageParcel& reply, const IPCContext&) {
//         reply.WriteString("hello");
//         return 0;
//     });
//     server.OwnName("org.example.Greeter");
//     server.Run();
//
// One thread at a time reads the connection. The thread that read a request first passes the reading on and then
// answers, so a request stays on one thread and a handler that blocks holds up nobody. When all threads are in handlers
// another one is started, up to a limit; at the limit requests wait on the bus.
#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <list>
#include <optional>
#include <string>
#include <vector>

#include "linux/base/mutex.h"
#include "linux/bus/bus_caller.h"
#include "linux/bus/bus_handles.h"
#include "linux/bus/bus_poller.h"
#include "linux/bus/bus_wire.h"
#include "linux/bus/caller_identity.h"
#include "linux/bus/direct_server.h"
#include "platform/ipc/ipc_context.h"
#include "platform/ipc/message_parcel.h"

namespace ZYNE::Linux {

// Lock order: turnMutex_, then busMutex_; stateMutex_ is never held together with another.
class BusServer {
public:
    // Answers one request. Any thread, several at once. Returns 0, or why it refuses; the caller then gets no reply. An
    // exception refuses the request as well.
    using Handler = RequestHandler;

    // Throws std::runtime_error when the bus cannot be reached.
    explicit BusServer(const std::string& address);
    BusServer(const BusServer&) = delete;
    BusServer& operator=(const BusServer&) = delete;
    ~BusServer();

    // Before Run. All throw std::runtime_error, for example for a bad path or a name that is taken.
    void Serve(const std::string& path, Handler handler);
    void OwnName(const std::string& name);
    // Lets the device, and nobody else, ask this process to end: for a process that the device's bus has started.
    void ServeStop(const std::string& path);
    // Takes direct lines from its device, and from nobody else, see DirectLines.
    void ServeLines(const std::string& path);

    const std::string& GetUniqueName() const { return uniqueName_; }

    // Serves until Stop is called, the device asks the process to stop, or the bus is gone, and returns when the last
    // handler has returned. True when the bus is still there.
    bool Run();

    // Any thread, handlers included; does not wait.
    void Stop();

private:
    struct Object {
        std::string path;
        Handler handler;
        BusWire::CallHandler onCall;
    };
    struct Request {
        MessageHandle message;   // to be dropped under busMutex_
        const Handler* handler;  // null: the process is given `line`, or asked to stop
        UniqueFd line;
        std::string sender;
        uint32_t code;
        std::vector<uint8_t> data;
    };

    // How many threads serve at most, and how many stay while there is nothing to do.
    static constexpr size_t MAX_THREADS = 64;
    static constexpr size_t MAX_WAITING = 4;

    void ServeRequests();
    std::optional<Request> TakeRequest();
    std::optional<Request> ReadOne(BusInterest& interest);
    void PassTurn(bool toAnswer);
    bool IsNeeded();
    void EndThread();
    void Answer(Request request) noexcept;
    void AnswerDevice(Request& request);
    bool TakeLine(Request& request);
    void SendReply(Request& request, int32_t status, const MessageParcel& reply);
    int OnCall(sd_bus_message* message, const Handler& handler, sd_bus_error* error) REQUIRES(busMutex_);
    static int OnConnect(sd_bus_message* message, void* server, sd_bus_error* error)
        REQUIRES(static_cast<BusServer*>(server)->busMutex_);
    static int OnStop(sd_bus_message* message, void* server, sd_bus_error* error)
        REQUIRES(static_cast<BusServer*>(server)->busMutex_);
    void TakeForDevice(sd_bus_message* message, UniqueFd line) REQUIRES(busMutex_);

    BusCaller caller_;
    CallerIdentity identity_;
    BusPoller poller_;
    std::string uniqueName_;
    std::list<Object> objects_;  // not changed while Run runs
    DirectServer lines_;
    std::atomic<bool> stopping_ = false;
    std::atomic<bool> busGone_ = false;

    Mutex turnMutex_;                                    // held by the thread that reads the connection
    Mutex busMutex_;                                     // held for the length of a call into sd-bus
    BusHandle bus_ GUARDED_BY(busMutex_);                // and so is every message of it
    std::optional<Request> read_ GUARDED_BY(busMutex_);  // what the message being processed was

    Mutex stateMutex_;
    std::condition_variable allGone_;  // threads_ has become 0
    size_t threads_ GUARDED_BY(stateMutex_) = 0;
    size_t waiting_ GUARDED_BY(stateMutex_) = 0;  // threads that read, or wait for their turn to
};

}  // namespace ZYNE::Linux
