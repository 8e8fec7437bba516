#include "linux/bus/bus_server.h"

#include <fcntl.h>

#include <cerrno>
#include <exception>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>

#include "linux/bus/bus_address.h"
#include "linux/bus/bus_wire.h"

namespace ZYNE::Linux {
namespace {

constexpr int32_t REFUSED = -1;

void Check(int result, const std::string& what) {
    if (result < 0) {
        throw std::runtime_error(what + ": " + std::generic_category().message(-result));
    }
}

}  // namespace

BusServer::BusServer(const std::string& address) : caller_(address), identity_(caller_), bus_(OpenBus(address)) {
    const char* name = nullptr;
    Check(sd_bus_get_unique_name(bus_.get(), &name), "no name on the bus");
    uniqueName_ = name;
}

BusServer::~BusServer() = default;

void BusServer::Serve(const std::string& path, Handler handler) {
    Object& object = objects_.emplace_back(Object{path, std::move(handler), nullptr});
    object.onCall = [this, &object](sd_bus_message* message, sd_bus_error* error) REQUIRES(busMutex_) {
        return OnCall(message, object.handler, error);
    };
    const MutexLock lock(busMutex_);
    Check(BusWire::AddObject(bus_.get(), nullptr, path, object.onCall), "cannot serve the object " + path);
}

void BusServer::ServeStop(const std::string& path) {
    static const sd_bus_vtable PROCESS[] = {SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD(BusWire::STOP, "", "", &BusServer::OnStop, SD_BUS_VTABLE_UNPRIVILEGED), SD_BUS_VTABLE_END};
    const MutexLock lock(busMutex_);
    Check(sd_bus_add_object_vtable(bus_.get(), nullptr, path.c_str(), BusWire::PROCESS_INTERFACE, PROCESS, this),
        "cannot serve the process's end at " + path);
}

void BusServer::ServeLines(const std::string& path) {
    static const sd_bus_vtable LINES[] = {SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD(BusWire::CONNECT, "h", "", &BusServer::OnConnect, SD_BUS_VTABLE_UNPRIVILEGED), SD_BUS_VTABLE_END};
    const MutexLock lock(busMutex_);
    Check(sd_bus_add_object_vtable(bus_.get(), nullptr, path.c_str(), BusWire::LINES_INTERFACE, LINES, this),
        "cannot serve direct lines at " + path);
}

void BusServer::OwnName(const std::string& name) {
    const MutexLock lock(busMutex_);
    Check(sd_bus_request_name(bus_.get(), name.c_str(), 0), "cannot own the bus name " + name);
}

bool BusServer::Run() {
    {
        const MutexLock lock(stateMutex_);
        ++threads_;
    }
    ServeRequests();  // which may end long before the others do: what serves is any of them
    {
        MutexLock lock(stateMutex_);
        allGone_.wait(lock, [this]() REQUIRES(stateMutex_) { return threads_ == 0; });
    }
    lines_.Stop();
    const MutexLock lock(busMutex_);
    sd_bus_flush(bus_.get());
    return !busGone_;
}

void BusServer::Stop() {
    stopping_ = true;
    poller_.Wake();
}

void BusServer::ServeRequests() {
    bool goOn = true;
    while (goOn) {
        std::optional<Request> request = TakeRequest();
        goOn = request.has_value();
        if (goOn) {
            Answer(std::move(*request));
            goOn = IsNeeded();
        }
    }
    EndThread();
}

// The next request, or none when there will be no more.
std::optional<BusServer::Request> BusServer::TakeRequest() {
    {
        const MutexLock lock(stateMutex_);
        ++waiting_;
    }
    std::optional<Request> request;
    {
        const MutexLock turn(turnMutex_);
        while (!request && !stopping_ && !busGone_) {
            BusInterest interest;
            request = ReadOne(interest);
            if (interest.fd >= 0) {
                poller_.Wait(interest);
            }
        }
    }
    PassTurn(request.has_value());
    return request;
}

// Reads one message. Fills in `interest` when there is none.
std::optional<BusServer::Request> BusServer::ReadOne(BusInterest& interest) {
    const MutexLock lock(busMutex_);
    const int result = sd_bus_process(bus_.get(), nullptr);
    if (result == 0) {
        interest.fd = sd_bus_get_fd(bus_.get());
        interest.events = sd_bus_get_events(bus_.get());
        sd_bus_get_timeout(bus_.get(), &interest.deadline);
    }
    if (result < 0 || (result == 0 && (interest.fd < 0 || interest.events < 0))) {
        busGone_ = true;
    }
    return std::exchange(read_, std::nullopt);
}

// The turn was given up before: a thread that waits has it by now. If none waits, one is started.
void BusServer::PassTurn(bool toAnswer) {
    {
        const MutexLock lock(stateMutex_);
        --waiting_;
        if (!toAnswer || waiting_ > 0 || threads_ >= MAX_THREADS) {
            return;
        }
        ++threads_;
    }
    try {
        std::thread([this] { ServeRequests(); }).detach();
    } catch (const std::exception&) {
        EndThread();
    }
}

bool BusServer::IsNeeded() {
    const MutexLock lock(stateMutex_);
    return waiting_ < MAX_WAITING;
}

void BusServer::EndThread() {
    const MutexLock lock(stateMutex_);
    if (--threads_ == 0) {
        allGone_.notify_all();
    }
}

void BusServer::Answer(Request request) noexcept {
    if (request.handler == nullptr) {
        AnswerDevice(request);
        return;
    }
    int32_t status = REFUSED;
    MessageParcel reply;
    try {
        IPCContext context;
        if (identity_.Find(request.sender, context)) {
            status = HandleRequest(*request.handler, {request.code, std::move(request.data)}, context, reply);
        }
    } catch (...) {
        status = REFUSED;
    }
    SendReply(request, status, reply);
}

bool BusServer::TakeLine(Request& request) {
    IPCContext device;
    std::vector<DirectServer::Object> objects;
    for (const Object& object : objects_) {
        objects.push_back({object.path, &object.handler});
    }
    return identity_.Find(request.sender, device) && lines_.Add(std::move(request.line), std::move(objects), device);
}

void BusServer::AnswerDevice(Request& request) {
    const bool isDevice = identity_.IsDevice(request.sender);
    const bool isLine = static_cast<bool>(request.line);
    const bool isDone = isDevice && (!isLine || TakeLine(request));
    {
        const MutexLock lock(busMutex_);
        const MessageHandle question = std::move(request.message);
        if (isDone) {
            sd_bus_reply_method_return(question.get(), "");
        } else if (isDevice) {
            sd_bus_reply_method_errorf(question.get(), SD_BUS_ERROR_LIMITS_EXCEEDED, "there are too many lines");
        } else {
            sd_bus_reply_method_errorf(
                question.get(), SD_BUS_ERROR_ACCESS_DENIED, "only the device itself may ask this of the process");
        }
    }
    stopping_ = stopping_ || (isDone && !isLine);
    poller_.Wake();  // the reader, to end or to write what had no room
}

void BusServer::SendReply(Request& request, int32_t status, const MessageParcel& reply) {
    const MutexLock lock(busMutex_);
    const MessageHandle question = std::move(request.message);
    BusWire::SendReply(question.get(), status, reply);
    uint64_t queued = 0;
    if (sd_bus_get_n_queued_write(bus_.get(), &queued) >= 0 && queued > 0) {
        poller_.Wake();  // the reader must wait for room to write as well
    }
}

// Inside sd_bus_process. The answer comes later.
int BusServer::OnCall(sd_bus_message* message, const Handler& handler, sd_bus_error* error) {
    BusWire::Request request;
    if (const int result = BusWire::ReadRequest(message, request, error); result < 0) {
        return result;
    }
    const char* sender = sd_bus_message_get_sender(message);
    read_ = Request{MessageHandle(sd_bus_message_ref(message)), &handler, UniqueFd(), sender != nullptr ? sender : "",
        request.code, std::move(request.data)};
    return 1;
}

int BusServer::OnConnect(sd_bus_message* message, void* server, sd_bus_error* /*error*/) {
    int socket = -1;  // the message's own
    const int result = sd_bus_message_read(message, "h", &socket);
    UniqueFd line(result > 0 ? fcntl(socket, F_DUPFD_CLOEXEC, 0) : -1);
    if (!line) {
        return -EIO;
    }
    static_cast<BusServer*>(server)->TakeForDevice(message, std::move(line));
    return 1;
}

int BusServer::OnStop(sd_bus_message* message, void* server, sd_bus_error* /*error*/) {
    static_cast<BusServer*>(server)->TakeForDevice(message, UniqueFd());
    return 1;
}

void BusServer::TakeForDevice(sd_bus_message* message, UniqueFd line) {
    const char* sender = sd_bus_message_get_sender(message);
    read_ = Request{
        MessageHandle(sd_bus_message_ref(message)), nullptr, std::move(line), sender != nullptr ? sender : "", 0, {}};
}

}  // namespace ZYNE::Linux
