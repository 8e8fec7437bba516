#include "plugin/info_collection/info_collection_process_listener.h"

#include <optional>

#include "platform/host/cross_device_protocol.h"
#include "platform/host/listener_manager.h"
#include "plugin/info_collection/info_collection_process.h"
#include "plugin/info_collection/info_collection_service.h"
#include "plugin/utils/log.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::CFWK_SERVICE;

std::optional<uint32_t> FindCollaborationId(const std::string& id) {
    ListenerManager* manager = ListenerManager::GetInstance();
    if (manager == nullptr) {
        return std::nullopt;
    }
    const ListenerManager::CollaborationId found = manager->FetchCollaborationId(id);
    return found.code == 0 ? std::optional(found.collaborationId) : std::nullopt;
}

}  // namespace

void InfoCollectionProcessListener::OnDataReceived(
    const std::string& id, std::shared_ptr<CollaborationFwkProtocol> protocol, uint32_t /*length*/) {
    const char* payload = CrossDeviceProtocol::GetInstance().GetPayLoadRawData(protocol);
    if (payload == nullptr) {
        CFWK_LOGE(LOG, "rawData is null");
        return;
    }
    InfoCollectionProcess* process = InfoCollectionProcess::GetInstance();
    if (process == nullptr) {
        CFWK_LOGE(LOG, "InfoCollectionProcess not support yet");
        return;
    }
    const std::optional<uint32_t> collaborationId = FindCollaborationId(id);
    if (!collaborationId) {
        CFWK_LOGE(LOG, "FetchCollaborationId fail");
        return;
    }
    process->OnDataReceived(*collaborationId, payload, protocol->GetPayloadLength());
}

void InfoCollectionProcessListener::OnCtrlChannelShutDown(const std::string& /*id*/) {
    CFWK_LOGI(LOG, "on ctrl channel shutDown");
}

void InfoCollectionProcessListener::OnWiFiShutDown() {
    CFWK_LOGI(LOG, "on wifi shutDown");
}

bool InfoCollectionProcessListener::IsIdExist(const std::string& id) {
    const std::optional<uint32_t> collaborationId = FindCollaborationId(id);
    return collaborationId && InfoCollectionService::GetInstance().IsCollaborationIdExist(*collaborationId);
}

}  // namespace ZYNE::CollaborationFwk
