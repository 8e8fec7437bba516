#include "linux/apps/bundle_manager.h"

#include <algorithm>
#include <utility>

namespace ZYNE::Linux {
namespace {

// A want that names an ability means that one alone; else whatever answers its action.
bool Answers(const Bundle& bundle, const BundleAbility& ability, const Want& want) {
    const std::string& bundleName = want.GetElement().GetBundleName();
    const std::string& abilityName = want.GetElement().GetAbilityName();
    if (!abilityName.empty()) {
        return bundleName == bundle.bundleName && abilityName == ability.name;
    }
    const bool hasAction =
        std::find(ability.actions.begin(), ability.actions.end(), want.GetAction()) != ability.actions.end();
    return hasAction && (bundleName.empty() || bundleName == bundle.bundleName);
}

template <typename Info, typename Ability>
void Append(const Bundle& bundle, const std::vector<Ability>& abilities, const Want& want, bool withMetadata,
    std::vector<Info>& infos) {
    for (const Ability& ability : abilities) {
        if (Answers(bundle, ability, want)) {
            infos.push_back(
                {ability.name, bundle.bundleName, withMetadata ? ability.metadata : std::vector<Metadata>()});
        }
    }
}

}  // namespace

void BundleManager::LoadDirectory(const std::filesystem::path& directory) {
    auto catalogue = std::make_shared<const BundleCatalogue>(directory);
    const MutexLock lock(mutex_);
    catalogue_ = std::move(catalogue);
}

std::shared_ptr<const BundleCatalogue> BundleManager::GetCatalogue() const {
    const MutexLock lock(mutex_);
    return catalogue_;
}

int32_t BundleManager::QueryAbilityInfosV9(
    const Want& want, int32_t flags, int32_t userId, std::vector<AbilityInfo>& infos) {
    std::vector<AbilityInfo> found;
    const std::shared_ptr<const BundleCatalogue> catalogue = GetCatalogue();
    for (const auto& [name, bundle] : catalogue->GetBundles()) {
        if (bundle.enabled && bundle.user == userId) {
            Append(bundle, bundle.abilities, want, (flags & GET_WITH_METADATA) != 0, found);
        }
    }
    infos = std::move(found);
    return 0;
}

int32_t BundleManager::QueryExtensionAbilityInfosV9(
    const Want& want, int32_t flags, int32_t userId, std::vector<ExtensionAbilityInfo>& infos) {
    std::vector<ExtensionAbilityInfo> found;
    const std::shared_ptr<const BundleCatalogue> catalogue = GetCatalogue();
    for (const auto& [name, bundle] : catalogue->GetBundles()) {
        if (bundle.enabled && bundle.user == userId) {
            Append(bundle, bundle.extensions, want, (flags & GET_WITH_METADATA) != 0, found);
        }
    }
    infos = std::move(found);
    return 0;
}

int32_t BundleManager::GetApplicationInfo(
    const std::string& bundleName, int32_t /*flags*/, int32_t userId, ApplicationInfo& info) {
    const std::shared_ptr<const BundleCatalogue> catalogue = GetCatalogue();
    const Bundle* bundle = catalogue->Find(bundleName);
    if (bundle == nullptr || bundle->user != userId) {
        return NOT_INSTALLED;
    }
    info.bundleName = bundle->bundleName;
    info.enabled = bundle->enabled;
    return 0;
}

}  // namespace ZYNE::Linux
