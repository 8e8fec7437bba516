#include "plugin/key_mouse/key_mouse_event_subscriber.h"

#include "plugin/key_mouse/key_mouse_service_manager.h"
#include "plugin/utils/log.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;

}  // namespace

void KeyMouseEventSubscriber::OnReceiveEvent(const CommonEventData& data) {
    const std::string& action = data.GetWant().GetAction();
    CFWK_LOGI(LOG, "on receive %{public}s", action);
    if (action == DATA_SHARE_READY) {
        KeyMouseServiceManager::GetInstance().OnDataShareReady();
    }
}

}  // namespace ZYNE::CollaborationFwk
