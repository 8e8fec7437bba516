// The listeners of all kinds of key-mouse events.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <unordered_map>

#include "plugin/key_mouse/key_mouse_event_listener.h"
#include "plugin/utils/singleton.h"

namespace ZYNE::CollaborationFwk {

// Any thread: it does not change after it was made.
class KeyMouseListenerSet {
public:
    static KeyMouseListenerSet& GetInstance();

    // Null for a kind that does not exist.
    std::shared_ptr<KeyMouseEventListener> GetListener(const std::string& type) const;
    // Calls `send` for each client of that kind, with no lock held. Lines are logged as those of `operation`.
    void Send(const char* operation, const std::string& type,
        const std::function<void(IKeyMouseCallback& client)>& send) const;

protected:
    KeyMouseListenerSet();
    virtual ~KeyMouseListenerSet() = default;

private:
    friend class Singleton<KeyMouseListenerSet>;

    void AddListener(const std::string& type);

    std::unordered_map<std::string, std::shared_ptr<KeyMouseEventListener>> listeners_;  // by type
};

}  // namespace ZYNE::CollaborationFwk
