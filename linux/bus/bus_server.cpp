#include "linux/bus/bus_server.h"

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
    Object& object = objects_.emplace_back(Object{std::move(handler), nullptr});
    object.onCall = [this, &object](sd_bus_message* message, sd_bus_error* error) {
        return OnCall(message, object.handler, error);
    };
    const std::scoped_lock lock(busMutex_);
    Check(BusWire::AddObject(bus_.get(), nullptr, path, object.onCall), "cannot serve the object " + path);
}

void BusServer::ServeStop(const std::string& path) {
    static const sd_bus_vtable PROCESS[] = {SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD(BusWire::STOP, "", "", &BusServer::OnStop, SD_BUS_VTABLE_UNPRIVILEGED), SD_BUS_VTABLE_END};
    const std::scoped_lock lock(busMutex_);
    Check(sd_bus_add_object_vtable(bus_.get(), nullptr, path.c_str(), BusWire::PROCESS_INTERFACE, PROCESS, this),
        "cannot serve the process's end at " + path);
}

void BusServer::OwnName(const std::string& name) {
    const std::scoped_lock lock(busMutex_);
    Check(sd_bus_request_name(bus_.get(), name.c_str(), 0), "cannot own the bus name " + name);
}

bool BusServer::Run() {
    {
        const std::scoped_lock lock(stateMutex_);
        ++threads_;
    }
    ServeRequests();
    {
        std::unique_lock lock(stateMutex_);
        allGone_.wait(lock, [this] { return threads_ == 0; });
    }
    const std::scoped_lock lock(busMutex_);
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
        const std::scoped_lock lock(stateMutex_);
        ++waiting_;
    }
    std::optional<Request> request;
    {
        const std::scoped_lock turn(turnMutex_);
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
    const std::scoped_lock lock(busMutex_);
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
        const std::scoped_lock lock(stateMutex_);
        --waiting_;
        if (!toAnswer || waiting_ > 0 || threads_ >= MOST_THREADS) {
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
    const std::scoped_lock lock(stateMutex_);
    return waiting_ < MOST_WAITING;
}

void BusServer::EndThread() {
    const std::scoped_lock lock(stateMutex_);
    if (--threads_ == 0) {
        allGone_.notify_all();
    }
}

void BusServer::Answer(Request request) noexcept {
    if (request.handler == nullptr) {
        AnswerStop(request);
        return;
    }
    int32_t status = REFUSED;
    MessageParcel reply;
    try {
        IPCContext context;
        if (identity_.Find(request.sender, context)) {
            MessageParcel data(std::move(request.data));
            status = (*request.handler)(request.code, data, reply, context);
        }
    } catch (...) {
        status = REFUSED;
    }
    if (status != 0) {
        reply = MessageParcel();
    }
    SendReply(request, status, reply);
}

void BusServer::AnswerStop(Request& request) {
    const bool mayStop = identity_.IsDevice(request.sender);
    {
        const std::scoped_lock lock(busMutex_);
        const MessageHandle question = std::move(request.message);
        if (mayStop) {
            sd_bus_reply_method_return(question.get(), "");
        } else {
            sd_bus_reply_method_errorf(
                question.get(), SD_BUS_ERROR_ACCESS_DENIED, "only the device itself may stop this process");
        }
    }
    stopping_ = stopping_ || mayStop;
    poller_.Wake();  // the reader, to end or to write what had no room
}

void BusServer::SendReply(Request& request, int32_t status, const MessageParcel& reply) {
    const std::scoped_lock lock(busMutex_);
    const MessageHandle question = std::move(request.message);
    BusWire::SendReply(question.get(), status, reply);
    uint64_t queued = 0;
    if (sd_bus_get_n_queued_write(bus_.get(), &queued) >= 0 && queued > 0) {
        poller_.Wake();  // the reader must wait for room to write as well
    }
}

// Inside sd_bus_process, under busMutex_. The answer comes later.
int BusServer::OnCall(sd_bus_message* message, const Handler& handler, sd_bus_error* error) {
    BusWire::Request request;
    if (const int result = BusWire::ReadRequest(message, request, error); result < 0) {
        return result;
    }
    const char* sender = sd_bus_message_get_sender(message);
    read_ = Request{MessageHandle(sd_bus_message_ref(message)), &handler, sender != nullptr ? sender : "", request.code,
        std::move(request.data)};
    return 1;
}

int BusServer::OnStop(sd_bus_message* message, void* server, sd_bus_error* /*error*/) {
    const char* sender = sd_bus_message_get_sender(message);
    static_cast<BusServer*>(server)->read_ =
        Request{MessageHandle(sd_bus_message_ref(message)), nullptr, sender != nullptr ? sender : "", 0, {}};
    return 1;
}

}  // namespace ZYNE::Linux
