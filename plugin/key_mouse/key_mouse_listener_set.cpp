#include "plugin/key_mouse/key_mouse_listener_set.h"

#include "platform/host/global_variables.h"

namespace ZYNE::CollaborationFwk {

KeyMouseListenerSet& KeyMouseListenerSet::GetInstance() {
    return Singleton<KeyMouseListenerSet>::Get();
}

KeyMouseListenerSet::KeyMouseListenerSet() {
    AddListener(GloableVariables::KEY_SWITCH);
    AddListener(GloableVariables::KEY_SCREEN);
    AddListener(GloableVariables::KEY_KEYBOARD);
    AddListener(GloableVariables::KEY_MOVE_TO_EDGE);
}

void KeyMouseListenerSet::AddListener(const std::string& type) {
    listeners_.emplace(type, std::make_shared<KeyMouseEventListener>(type));
}

std::shared_ptr<KeyMouseEventListener> KeyMouseListenerSet::GetListener(const std::string& type) const {
    const auto found = listeners_.find(type);
    return found != listeners_.end() ? found->second : nullptr;
}

void KeyMouseListenerSet::Send(
    const char* operation, const std::string& type, const std::function<void(IKeyMouseCallback& client)>& send) const {
    if (const std::shared_ptr<KeyMouseEventListener> listener = GetListener(type)) {
        listener->Send(operation, send);
    }
}

}  // namespace ZYNE::CollaborationFwk
