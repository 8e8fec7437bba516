// Tells which apps are installed and which of their abilities answer an action.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/ability/want.h"
#include "platform/bundle/ability_info.h"
#include "platform/ipc/remote_broker.h"

namespace ZYNE {

// Any thread.
class PLATFORM_API IBundleMgr : public IRemoteBroker {
public:
    static constexpr char16_t DESCRIPTOR[] = u"ZYNE.IBundleMgr";
    static constexpr int32_t GET_WITH_METADATA = 4;  // query flag: fill in the metadata

    // The abilities, or extension abilities, of user `userId` that answer `want`'s action, in the order of bundle
    // names. 0, also when there are none; otherwise the port's own code and untouched `infos`.
    virtual int32_t QueryAbilityInfosV9(
        const Want& want, int32_t flags, int32_t userId, std::vector<AbilityInfo>& infos) = 0;
    virtual int32_t QueryExtensionAbilityInfosV9(
        const Want& want, int32_t flags, int32_t userId, std::vector<ExtensionAbilityInfo>& infos) = 0;

    // The app named `bundleName`. 0; otherwise the port's own code, as for an app that is not installed, and untouched
    // `info`.
    virtual int32_t GetApplicationInfo(
        const std::string& bundleName, int32_t flags, int32_t userId, ApplicationInfo& info) = 0;
};

}  // namespace ZYNE
