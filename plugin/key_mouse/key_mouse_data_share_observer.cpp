#include "plugin/key_mouse/key_mouse_data_share_observer.h"

#include "plugin/key_mouse/key_mouse_service_manager.h"
#include "plugin/utils/log.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;

}  // namespace

void KeyMouseDataShareObserver::OnChange() {
    CFWK_LOGI(LOG, "key mouse observer onchange");
    KeyMouseServiceManager& manager = KeyMouseServiceManager::GetInstance();
    const auto [isMainDone, isEdgeDone] = manager.RetireGlobalSwitches();
    CFWK_LOGI(LOG, "mainDataMigrationDone: %{public}d, dataMigrationNotDone: %{public}d", isMainDone, isEdgeDone);
    manager.UpdateEdgeSwitchState(manager.GetLocalSwitchStateFromSettings());
}

}  // namespace ZYNE::CollaborationFwk
