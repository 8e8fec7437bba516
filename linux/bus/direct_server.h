// The lines over which a service is asked without the bus in between, see DirectLines.
//
// Each line has a thread, which reads a request, answers it and reads the next: a request changes no thread on its way.
#pragma once

#include <functional>
#include <list>
#include <string>
#include <thread>
#include <vector>

#include "linux/base/mutex.h"
#include "linux/base/unique_fd.h"
#include "linux/bus/bus_wire.h"
#include "platform/ipc/ipc_context.h"
#include "platform/ipc/message_parcel.h"

namespace ZYNE::Linux {

// Answers one request; see BusServer::Handler.
using RequestHandler =
    std::function<int32_t(uint32_t code, MessageParcel& data, MessageParcel& reply, const IPCContext& context)>;

// What the handler says; an exception refuses the request. `reply` is empty then.
int32_t HandleRequest(
    const RequestHandler& handler, BusWire::Request request, const IPCContext& context, MessageParcel& reply) noexcept;

// Any thread.
class DirectServer {
public:
    struct Object {
        std::string path;
        const RequestHandler* handler;
    };

    DirectServer() = default;
    DirectServer(const DirectServer&) = delete;
    DirectServer& operator=(const DirectServer&) = delete;
    ~DirectServer() { Stop(); }

    // Serves `objects`, whose handlers outlive this, on `socket` from now on. Whoever asks there is `caller`. False when
    // there are too many lines, or no thread for one more.
    bool Add(UniqueFd socket, std::vector<Object> objects, const IPCContext& caller) noexcept;

    // Returns when what has come is answered and every line has ended. There are no others later. Not for a handler.
    void Stop();

private:
    static constexpr size_t MAX_LINES = 8;

    struct Line {
        Line() = default;
        Line(const Line&) = delete;
        Line& operator=(const Line&) = delete;
        // Not under the lock, which the thread takes at its end.
        ~Line() {
            if (thread.joinable()) {
                thread.join();
            }
        }

        UniqueFd socket;  // the same as the thread's, to wake it
        bool hasEnded = false;
        std::thread thread;
    };

    void Serve(Line& line, UniqueFd socket, const std::vector<Object>& objects, const IPCContext& caller) noexcept;

    Mutex mutex_;
    std::list<Line> lines_ GUARDED_BY(mutex_);
    bool isStopped_ GUARDED_BY(mutex_) = false;
};

}  // namespace ZYNE::Linux
