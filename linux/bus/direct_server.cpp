#include "linux/bus/direct_server.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <exception>
#include <memory>
#include <utility>

#include "linux/bus/bus_address.h"

namespace ZYNE::Linux {
namespace {

constexpr int32_t REFUSED = -1;
constexpr std::chrono::seconds OPENING_TIME{5};

BusWire::CallHandler AnswerOf(const RequestHandler& handler, const IPCContext& caller) {
    return [&handler, &caller](sd_bus_message* message, sd_bus_error* error) {
        BusWire::Request request;
        if (const int result = BusWire::ReadRequest(message, request, error); result < 0) {
            return result;
        }
        MessageParcel reply;
        const int32_t status = HandleRequest(handler, std::move(request), caller, reply);
        BusWire::SendReply(message, status, reply);
        return 1;
    };
}

// Until it ends.
void Work(sd_bus* line) {
    int result = 1;
    while (result >= 0) {
        result = sd_bus_process(line, nullptr);
        if (result == 0) {
            result = sd_bus_wait(line, UINT64_MAX);
            result = result == -EINTR ? 0 : result;
        }
    }
}

}  // namespace

int32_t HandleRequest(
    const RequestHandler& handler, BusWire::Request request, const IPCContext& context, MessageParcel& reply) noexcept {
    int32_t status = REFUSED;
    try {
        MessageParcel data(std::move(request.data));
        status = handler(request.code, data, reply, context);
    } catch (...) {
        status = REFUSED;
    }
    if (status != 0) {
        reply = MessageParcel();
    }
    return status;
}

bool DirectServer::Add(UniqueFd socket, std::vector<Object> objects, const IPCContext& caller) noexcept {
    std::list<Line> ended;  // destroyed without the lock
    {
        const MutexLock lock(mutex_);
        for (auto at = lines_.begin(); at != lines_.end();) {
            const auto line = at++;
            if (line->hasEnded) {
                ended.splice(ended.end(), lines_, line);
            }
        }
        if (isStopped_ || lines_.size() >= MAX_LINES) {
            return false;
        }
        UniqueFd copy(fcntl(socket.Get(), F_DUPFD_CLOEXEC, 0));
        if (!copy) {
            return false;
        }
        try {
            Line& line = lines_.emplace_back();
            line.socket = std::move(copy);
            line.thread = std::thread([this, &line, objects = std::move(objects), caller,
                                          own = std::make_shared<UniqueFd>(std::move(socket))]() {
                Serve(line, std::move(*own), objects, caller);
            });
        } catch (const std::exception&) {
            std::erase_if(lines_, [](const Line& line) { return !line.thread.joinable(); });
            return false;
        }
    }
    return true;
}

void DirectServer::Serve(
    Line& line, UniqueFd socket, const std::vector<Object>& objects, const IPCContext& caller) noexcept {
    try {
        std::list<BusWire::CallHandler> handlers;  // outlives the line
        const BusHandle bus = OpenLine(std::move(socket), LineEnd::SERVICE, OPENING_TIME);
        for (const Object& object : objects) {
            BusWire::AddObject(
                bus.get(), nullptr, object.path, handlers.emplace_back(AnswerOf(*object.handler, caller)));
        }
        Work(bus.get());
    } catch (const std::exception&) {
        // The device notices that the line has ended, and goes by the bus.
    }
    const MutexLock lock(mutex_);
    line.socket.Reset();
    line.hasEnded = true;
}

void DirectServer::Stop() {
    std::list<Line> last;  // joined without the lock
    const MutexLock lock(mutex_);
    isStopped_ = true;
    for (const Line& line : lines_) {
        shutdown(line.socket.Get(), SHUT_RD);
    }
    last.splice(last.end(), lines_);
}

}  // namespace ZYNE::Linux
