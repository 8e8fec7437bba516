#include "linux/services/event_subscribers.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <utility>

#include "linux/base/log_domains.h"
#include "linux/base/mailbox.h"

namespace ZYNE::Linux {

// One event on its way to its subscribers.
class EventSubscribers::Delivery {
public:
    Delivery(size_t count, std::function<void()> told) : left_(count), told_(std::move(told)) {}

    void FinishOne() {
        if (--left_ == 0 && told_) {
            told_();
        }
    }

private:
    std::atomic<size_t> left_;
    const std::function<void()> told_;
};

struct EventSubscribers::Event {
    std::string name;
    std::shared_ptr<Delivery> delivery;
};

struct EventSubscribers::Entry {
    // Runs even when the subscriber throws.
    struct Finishing {
        Delivery& delivery;
        ~Finishing() { delivery.FinishOne(); }
    };

    Entry(ThreadPool& pool, std::shared_ptr<CommonEventSubscriber> told)
        : subscriber(std::move(told)),
          mailbox(Mailbox<Event>::Make(pool,
              [subscriber = subscriber](const Event& event) {
                  const Finishing finishing{*event.delivery};
                  subscriber->OnReceiveEvent(CommonEventData(Want().SetAction(event.name)));
              },
              {MAX_WAITING})) {}

    const std::shared_ptr<CommonEventSubscriber> subscriber;
    const std::shared_ptr<Mailbox<Event>> mailbox;
};

EventSubscribers::EventSubscribers(ThreadPool& pool) : pool_(pool) {}

EventSubscribers::~EventSubscribers() = default;

void EventSubscribers::Add(std::shared_ptr<CommonEventSubscriber> subscriber) {
    auto entry = std::make_shared<Entry>(pool_, std::move(subscriber));
    const MutexLock lock(mutex_);
    entries_.push_back(std::move(entry));
}

void EventSubscribers::Clear() {
    std::vector<std::shared_ptr<Entry>> ended;  // destroyed without the lock: may end a subscriber
    const MutexLock lock(mutex_);
    ended.swap(entries_);
    for (const std::shared_ptr<Entry>& entry : ended) {
        entry->mailbox->Close();
    }
}

bool EventSubscribers::IsWanted(const std::string& event) {
    const MutexLock lock(mutex_);
    return std::any_of(entries_.begin(), entries_.end(), [&](const std::shared_ptr<Entry>& entry) {
        return entry->subscriber->GetSubscribeInfo().GetMatchingSkills().HasEvent(event);
    });
}

void EventSubscribers::Tell(const std::string& event, int32_t uid, std::function<void()> told) {
    std::vector<std::shared_ptr<Entry>> meant;
    {
        const MutexLock lock(mutex_);
        std::copy_if(
            entries_.begin(), entries_.end(), std::back_inserter(meant), [&](const std::shared_ptr<Entry>& entry) {
                return entry->subscriber->GetSubscribeInfo().Accepts(event, uid);
            });
    }
    const auto delivery = std::make_shared<Delivery>(meant.size() + 1, std::move(told));
    for (const std::shared_ptr<Entry>& entry : meant) {
        if (!entry->mailbox->Post({event, delivery})) {
            LogPrint(LogType::CORE, LogLevel::ERROR, LogDomains::EVENT,
                "%{public}s is lost to a subscriber: too much waits for it", event);
            delivery->FinishOne();
        }
    }
    delivery->FinishOne();
}

}  // namespace ZYNE::Linux
