#include "linux/services/common_events.h"

#include <stdexcept>
#include <utility>

#include "linux/base/log_domains.h"
#include "linux/base/mailbox.h"
#include "linux/services/event_subscribers.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

constexpr char PATH[] = "/com/zyne/CommonEvent";
constexpr char INTERFACE[] = "com.zyne.CommonEvent";
constexpr char PUBLISHED[] = "Published";

// Matches only subscribers that accept any publisher.
constexpr int32_t UNKNOWN_PUBLISHER = CommonEventSubscribeInfo::ANY_PUBLISHER;

// How many events may wait for their publishers to be found out.
constexpr size_t MAX_WAITING = 10000;

bool IsName(const std::string& event) {
    return !event.empty() && event.size() <= CommonEvents::MAX_NAME_BYTES;
}

}  // namespace

// What exists from Start to Stop.
struct CommonEvents::Running {
    // What another process has published.
    struct Received {
        std::string event;
        std::string from;  // its connection
    };

    Running(ThreadPool& pool, std::shared_ptr<BusClient> busClient)
        : subscribers(pool), client(std::move(busClient)), ownName(client->GetConnection()->GetUniqueName()),
          received(Mailbox<Received>::Make(pool,
              [this](const Received& each) { subscribers.Tell(each.event, FindPublisher(each.from)); }, {MAX_WAITING})),
          published(client->GetConnection()->Listen(
              PATH, INTERFACE, PUBLISHED, [this](sd_bus_message* message) { Receive(message); })) {}

    void Stop() {
        published.End();
        received->CloseAndWait();
        subscribers.Clear();
    }

    // A handler of the connection.
    void Receive(sd_bus_message* message) {
        const char* text = nullptr;
        const char* from = sd_bus_message_get_sender(message);
        if (from == nullptr || ownName == from) {
            return;  // subscribers have been told by Publish
        }
        if (sd_bus_message_read(message, "s", &text) <= 0 || !IsName(text)) {
            LogPrint(LogType::CORE, LogLevel::WARN, LogDomains::EVENT, "a malformed event is passed over");
        } else if (subscribers.IsWanted(text) && !received->Post({text, from})) {
            LogPrint(LogType::CORE, LogLevel::ERROR, LogDomains::EVENT,
                "%{public}s is lost: too many events wait for their publishers to be found", std::string(text));
        }
    }

    // The bus cannot say who was behind a connection that has left.
    int32_t FindPublisher(const std::string& connection) {
        IPCContext publisher;
        return client->GetIdentity().Find(connection, publisher) ? publisher.callingUid : UNKNOWN_PUBLISHER;
    }

    EventSubscribers subscribers;
    const std::shared_ptr<BusClient> client;
    const std::string ownName;
    const std::shared_ptr<Mailbox<Received>> received;
    BusSlot published;  // the last to be built: its handler uses the others
};

CommonEvents::CommonEvents(ThreadPool& pool) : pool_(pool) {}

CommonEvents::~CommonEvents() {
    Stop();
}

void CommonEvents::Start(const std::shared_ptr<BusClient>& client) {
    auto running = std::make_shared<Running>(pool_, client);
    const MutexLock lock(mutex_);
    if (running_) {
        throw std::runtime_error("common events are up already");
    }
    running_ = std::move(running);
}

void CommonEvents::Stop() {
    std::shared_ptr<Running> running;
    {
        const MutexLock lock(mutex_);
        running.swap(running_);
    }
    if (running) {
        running->Stop();
    }
}

std::shared_ptr<CommonEvents::Running> CommonEvents::GetRunning() {
    const MutexLock lock(mutex_);
    return running_;
}

// Added under the lock, so that nothing is added after Stop has emptied the list.
bool CommonEvents::Subscribe(const std::shared_ptr<CommonEventSubscriber>& subscriber) {
    const MutexLock lock(mutex_);
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
    const bool sent = running->client->GetConnection()->Send(
        PATH, INTERFACE, PUBLISHED,
        [&](sd_bus_message* message) { return sd_bus_message_append(message, "s", event.c_str()); }, error);
    if (!sent) {
        LogPrint(LogType::CORE, LogLevel::ERROR, LogDomains::EVENT,
            "%{public}s is not told to other processes: %{public}s", event, error);
    }
    return true;
}

}  // namespace ZYNE::Linux
