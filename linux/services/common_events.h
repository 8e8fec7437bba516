// The common events of a device: notices that any process publishes for everyone.
//
//     CommonEvents events(pool);
//     events.Start(bus.GetClient());
//     ...                                                    // subscribers come through CommonEventManager
//     events.Publish("usual.event.DATA_SHARE_READY", 3012);
//     ...
//     events.Stop();
//
// An event is a D-Bus signal on the device's bus. It comes from the object /com/zyne/CommonEvent with the interface
// com.zyne.CommonEvent and the name Published; its one argument is the event's name. A program publishes one with
//
//     busctl --address=... emit /com/zyne/CommonEvent com.zyne.CommonEvent Published s org.example.SOMETHING
//
// The publisher of an event is the user that the sender runs as, which the bus tells; senders cannot claim another.
// Only this process may name a user for what it publishes: the daemon stands in for system services that have users of
// their own elsewhere. So no other process can publish in the name of such a service.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "linux/base/mutex.h"
#include "linux/base/thread_pool.h"
#include "linux/bus/bus_client.h"
#include "platform/event/common_event_subscriber.h"

namespace ZYNE::Linux {

// Any thread, except where said.
class CommonEvents {
public:
    static constexpr size_t MAX_NAME_BYTES = 255;  // bytes of an event's name

    explicit CommonEvents(ThreadPool& pool);
    CommonEvents(const CommonEvents&) = delete;
    CommonEvents& operator=(const CommonEvents&) = delete;
    ~CommonEvents();

    // When the device's bus is up. Throws std::runtime_error with one line, and has then started nothing.
    void Start(const std::shared_ptr<BusClient>& client);

    // After this no new call starts, and the subscribers are dropped; calls that run are not waited for. Before the
    // thread pool is stopped. Not inside a subscriber. Does nothing when it is not up.
    void Stop();

    // As CommonEventManager::SubscribeCommonEvent says. False while it is not up.
    bool Subscribe(const std::shared_ptr<CommonEventSubscriber>& subscriber);

    // Publishes `event`: subscribers in this process see it come from user `publisherUid`, other processes from this
    // process. False when it is not up, for a negative user, and for a name that is empty or too long. Returns before
    // subscribers are called. When all those in this process have been told, and it is still up, `told` is called on
    // any thread; it must not throw.
    bool Publish(const std::string& event, int32_t publisherUid, std::function<void()> told = {});

private:
    struct Running;

    std::shared_ptr<Running> GetRunning();

    ThreadPool& pool_;
    Mutex mutex_;
    std::shared_ptr<Running> running_ GUARDED_BY(mutex_);
};

}  // namespace ZYNE::Linux
