// The device's bundle manager: an object of this process.
#pragma once

#include <filesystem>
#include <memory>
#include <vector>

#include "linux/apps/bundle_catalogue.h"
#include "linux/base/mutex.h"
#include "linux/bus/local_object.h"
#include "platform/bundle/bundle_mgr.h"
#include "platform/system_ability/system_ability_ids.h"

namespace ZYNE::Linux {

// Any thread.
class BundleManager final : public LocalObject, public IBundleMgr {
public:
    static constexpr int32_t SYSTEM_ABILITY_ID = SystemAbilityIds::BUNDLE_MANAGER;

    // What the queries answer besides 0.
    enum QueryResult : int32_t { NOT_INSTALLED = 1 };

    // Before the bus is started. Throws std::runtime_error with one line when the directory cannot be read.
    void LoadDirectory(const std::filesystem::path& directory);

    // What is installed; never null.
    std::shared_ptr<const BundleCatalogue> GetCatalogue() const;

    sptr<IRemoteObject> AsObject() override { return sptr<IRemoteObject>(this); }

    // An app that is disabled, or another user's, is in no query.
    int32_t QueryAbilityInfosV9(
        const Want& want, int32_t flags, int32_t userId, std::vector<AbilityInfo>& infos) override;
    int32_t QueryExtensionAbilityInfosV9(
        const Want& want, int32_t flags, int32_t userId, std::vector<ExtensionAbilityInfo>& infos) override;
    // Tells of disabled apps as well.
    int32_t GetApplicationInfo(
        const std::string& bundleName, int32_t flags, int32_t userId, ApplicationInfo& info) override;

private:
    mutable Mutex mutex_;
    std::shared_ptr<const BundleCatalogue> catalogue_ GUARDED_BY(mutex_) = std::make_shared<BundleCatalogue>();
};

}  // namespace ZYNE::Linux
