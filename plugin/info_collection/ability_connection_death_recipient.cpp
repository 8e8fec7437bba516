#include "plugin/info_collection/ability_connection_death_recipient.h"

#include "plugin/utils/log.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;

}  // namespace

void AbilityConnectionDeathRecipient::OnRemoteDied(const wptr<IRemoteObject>& /*remote*/) {
    CFWK_LOGE(LOG, "AbilityConnectionDeathRecipient::OnRemoteDied");
    if (!deathHandler_) {
        CFWK_LOGE(LOG, "OnRemoteDied deathHandler_ is null");
        return;
    }
    deathHandler_();
}

}  // namespace ZYNE::CollaborationFwk
