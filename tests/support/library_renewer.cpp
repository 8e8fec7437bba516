#include "tests/support/library_renewer.h"

#include "platform/host/plugin_loader.h"
#include "plugin/datashare/datashare_manager.h"
#include "plugin/datashare/oobe_status_dependency.h"
#include "plugin/device_profile/device_profile_manager.h"
#include "plugin/info_collection/app_info_collection.h"
#include "plugin/info_collection/info_collection_manager.h"
#include "plugin/info_collection/info_collection_process.h"
#include "plugin/info_collection/info_collection_service.h"
#include "plugin/info_collection/request_sa_manager.h"
#include "plugin/key_mouse/key_mouse_listener_set.h"
#include "plugin/key_mouse/key_mouse_service_manager.h"

namespace ZYNE::CollaborationFwk {
void LibraryRenewer::RenewAll() {
    Renew(InfoCollectionService::GetInstance());
    Renew(*RequestSAManager::GetInstance());
    Renew(*InfoCollectionManager::GetInstance());
    Renew(*AppInfoCollection::GetInstance());
    Renew(DeviceProfileManager::GetInstance());
    Renew(DataShareManager::GetInstance());
    Renew(OobeStatusDependency::GetInstance());
    Renew(KeyMouseListenerSet::GetInstance());
    Renew(KeyMouseServiceManager::GetInstance());
    delete InfoCollectionProcess::instance_.exchange(nullptr);
    PluginLoader::GetLoader().RegisterInstance(PluginType::INFO_COLLECTION, InfoCollectionProcess::GetInstance());
}

}  // namespace ZYNE::CollaborationFwk
