// The clients that want to hear of one kind of key-mouse event, and the source of that kind, which runs while there are
// any.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "plugin/key_mouse/i_key_mouse_callback.h"
#include "plugin/key_mouse/key_mouse_callback_death_recipient.h"

namespace ZYNE::CollaborationFwk {

// Any thread; made by std::make_shared. No event is sent with a lock held.
//
// Lock order: sourceMutex_, then callbacksMutex_, then the manager's lock of its monitors. Whoever sends an event or
// reports a death never takes sourceMutex_.
class KeyMouseEventListener : public std::enable_shared_from_this<KeyMouseEventListener> {
public:
    static constexpr size_t MAX_CALLBACKS = 10;

    // `type` is one of the KEY_ names of GloableVariables.
    explicit KeyMouseEventListener(std::string type);
    virtual ~KeyMouseEventListener();
    KeyMouseEventListener(const KeyMouseEventListener&) = delete;
    KeyMouseEventListener& operator=(const KeyMouseEventListener&) = delete;

    // Registers the callback of the process `pid` and starts the source. A process that is registered keeps its earlier
    // callback; one too many, and one that is dead already, is not taken.
    void On(int32_t pid, const sptr<IRemoteObject>& callback);
    // Takes the callback of `pid` away, and stops the source if there is none left.
    void Off(int32_t pid);
    // The same as RemoveCallback.
    void Off(const sptr<IRemoteObject>& callback);

    // The source goes on: only Off(pid) stops it. Whether the callback was registered and is no longer watched.
    bool RemoveCallback(const sptr<IRemoteObject>& callback);
    // Whether there was one. It is no longer watched then.
    bool RemoveCallbackByPid(int32_t pid);
    // The same with all.
    void Clear();

    // A copy, in the order in which they were registered.
    std::vector<sptr<IRemoteObject>> GetCallbacks() const;
    // Calls `send` for each client in that order. One that cannot be reached does not keep the others from hearing.
    // Lines are logged as those of `operation`.
    void Send(const char* operation, const std::function<void(IKeyMouseCallback& client)>& send) const;

private:
    // False, and logged by `operation`, when it is not taken.
    bool AddCallback(const char* operation, int32_t pid, const sptr<IRemoteObject>& callback);
    // With callbacksMutex_ held.
    void Erase(int32_t pid);
    void StartSource() const;
    void StopSource() const;

    const std::string type_;
    std::mutex sourceMutex_;  // makes one step of a registration and the start or stop of the source
    mutable std::shared_mutex callbacksMutex_;
    std::unordered_map<int32_t, sptr<IRemoteObject>> callbacks_;  // by pid; guarded by callbacksMutex_
    std::vector<int32_t> pids_;                                   // as they were registered; guarded by callbacksMutex_
    sptr<KeyMouseCallbackDeathRecipient> deathRecipient_;         // of all callbacks; guarded by callbacksMutex_
};

}  // namespace ZYNE::CollaborationFwk
