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
// The publisher of an event is the user whom the bus proves to be behind the sender, whatever the sender may claim. Only
// what this process publishes itself is taken for the user that it names: the daemon stands for system services, which
// have users of their own elsewhere. So no other process can publish in the name of one.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "linux/base/thread_pool.h"
#include "linux/bus/bus_client.h"
#include "platform/event/common_event_subscriber.h"

namespace ZYNE::Linux {

// Any thread, except where said.
class CommonEvents {
public:
    static constexpr size_t LONGEST_NAME = 255;  // bytes of an event's name

    explicit CommonEvents(ThreadPool& pool);
    CommonEvents(const CommonEvents&) = delete;
    CommonEvents& operator=(const CommonEvents&) = delete;
    ~CommonEvents();

    // When the device's bus is up. Throws std::runtime_error with one line, and has then started nothing.
    void Start(const std::shared_ptr<BusClient>& client);

    // From now on nobody is called anew, and the subscribers are let go of; calls that run are not waited for. Before
    // the thread pool is stopped. Not inside a subscriber. Does nothing when it is not up.
    void Stop();

    // As CommonEventManager::SubscribeCommonEvent says. False while it is not up.
    bool Subscribe(const std::shared_ptr<CommonEventSubscriber>& subscriber);

    // Tells subscribers in this process that a process of user `publisherUid` has published `event`, and every other
    // process that this one has. False when it is not up, for a negative user, and for a name that is empty or too
    // long. Returns before subscribers are called. When all of this process have been told, and it is still up, `told`
    // is called on any thread; it throws nothing.
    bool Publish(const std::string& event, int32_t publisherUid, std::function<void()> told = {});

private:
    struct Running;

    std::shared_ptr<Running> GetRunning();

    ThreadPool& pool_;
    std::mutex mutex_;
    std::shared_ptr<Running> running_;  // guarded by mutex_
};

}  // namespace ZYNE::Linux
