#include "linux/services/common_events.h"

#include <stdexcept>
#include <utility>

#include "linux/base/log_domains.h"
#include "linux/bus/bus_caller.h"
#include "linux/bus/caller_identity.h"
#include "linux/bus/signal_listener.h"
#include "linux/bus/signal_sender.h"
#include "linux/services/event_subscribers.h"
#include "platform/event/common_event_manager.h"

namespace ZYNE {

bool CommonEventManager::SubscribeCommonEvent(const std::shared_ptr<CommonEventSubscriber>& subscriber) {
    return Linux::CommonEvents::GetInstance().Subscribe(subscriber);
}

}  // namespace ZYNE

namespace ZYNE::Linux {
namespace {

constexpr char PATH[] = "/com/zyne/CommonEvent";
constexpr char INTERFACE[] = "com.zyne.CommonEvent";
constexpr char PUBLISHED[] = "Published";

// Accepted only by those who take any publisher.
constexpr int32_t UNKNOWN_PUBLISHER = CommonEventSubscribeInfo::ANY_PUBLISHER;

bool IsName(const std::string& event) {
    return !event.empty() && event.size() <= CommonEvents::LONGEST_NAME;
}

}  // namespace

// What is there from Start to Stop.
struct CommonEvents::Running {
    explicit Running(const std::string& address)
        : sender(address), ownName(sender.GetUniqueName()), caller(address), publishers(caller),
          listener(address,
              {{PATH, INTERFACE, PUBLISHED,
                  [this](sd_bus_message* message) {
                      Receive(message);
                  }}},
              [] {
                  LogPrint(LogType::CORE, LogLevel::WARN, LogDomains::EVENT, "no further events: the bus is gone");
              }) {
        listener.Listen();
        if (ownName.empty()) {
            throw std::runtime_error("common events cannot be sent on the bus " + address);
        }
    }

    void Stop() {
        sender.Stop();
        listener.Stop();
        caller.Close();
        subscribers.Clear();
    }

    // On the listening thread.
    void Receive(sd_bus_message* message) {
        const char* text = nullptr;
        const char* from = sd_bus_message_get_sender(message);
        if (from == nullptr || ownName == from) {
            return;  // subscribers have been told by Publish
        }
        if (sd_bus_message_read(message, "s", &text) <= 0 || !IsName(text)) {
            LogPrint(LogType::CORE, LogLevel::WARN, LogDomains::EVENT, "a malformed event is passed over");
        } else if (subscribers.IsWanted(text)) {
            subscribers.Tell(text, FindPublisher(from));
        }
    }

    // The bus cannot say who was behind a connection that has left.
    int32_t FindPublisher(const std::string& connection) {
        IPCContext publisher;
        return publishers.Find(connection, publisher) ? publisher.callingUid : UNKNOWN_PUBLISHER;
    }

    EventSubscribers subscribers;
    SignalSender sender;
    const std::string ownName;
    BusCaller caller;
    CallerIdentity publishers;
    SignalListener listener;  // the last to be built: its thread uses the others
};

CommonEvents::~CommonEvents() = default;

CommonEvents& CommonEvents::GetInstance() {
    static auto& events = *new CommonEvents();
    return events;
}

void CommonEvents::Start(const std::string& busAddress) {
    auto running = std::make_shared<Running>(busAddress);
    const std::scoped_lock lock(mutex_);
    if (running_) {
        throw std::runtime_error("common events are up already");
    }
    running_ = std::move(running);
}

void CommonEvents::Stop() {
    std::shared_ptr<Running> running;
    {
        const std::scoped_lock lock(mutex_);
        running.swap(running_);
    }
    if (running) {
        running->Stop();
    }
}

std::shared_ptr<CommonEvents::Running> CommonEvents::GetRunning() {
    const std::scoped_lock lock(mutex_);
    return running_;
}

// Added under the lock, so that none is added to what Stop has emptied.
bool CommonEvents::Subscribe(const std::shared_ptr<CommonEventSubscriber>& subscriber) {
    const std::scoped_lock lock(mutex_);
    if (!running_ || !subscriber) {
        return false;
    }
    running_->subscribers.Add(subscriber);
    return true;
}

bool CommonEvents::Publish(const std::string& event, int32_t publisherUid, std::function<void()> told) {
    const std::shared_ptr<Running> running = GetRunning();
    if (!running || !IsName(event) || publisherUid < 0) {
        return false;
    }
    running->subscribers.Tell(event, publisherUid, std::move(told));
    std::string error;
    const bool sent = running->sender.Send(
        PATH, INTERFACE, PUBLISHED,
        [&](sd_bus_message* message) { return sd_bus_message_append(message, "s", event.c_str()); }, error);
    if (!sent) {
        LogPrint(LogType::CORE, LogLevel::ERROR, LogDomains::EVENT,
            "%{public}s is not told to other processes: %{public}s", event, error);
    }
    return true;
}

}  // namespace ZYNE::Linux
