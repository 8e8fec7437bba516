#include "plugin/key_mouse/key_mouse_callback_death_recipient.h"

#include "plugin/key_mouse/key_mouse_event_listener.h"
#include "plugin/utils/log.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::DEVICE_DETECT;

}  // namespace

void KeyMouseCallbackDeathRecipient::OnRemoteDied(const wptr<IRemoteObject>& remote) {
    CFWK_LOGI(LOG, "OnRemoteDied the cb");
    if (const std::shared_ptr<KeyMouseEventListener> listener = listener_.lock()) {
        listener->RemoveCallback(remote.promote());
    }
}

}  // namespace ZYNE::CollaborationFwk
