#include "linux/apps/ability_manager.h"

#include <optional>
#include <utility>
#include <vector>

namespace ZYNE::Linux {
namespace {

// Means the apps of the device's user, whoever is in the foreground.
constexpr int32_t CURRENT_USER = -1;

// The extension that takes the keyboard and the mouse to another device. It is connected to for as long as that lasts.
constexpr char COMPANION_BUNDLE[] = "com.talvex.peerdesk";
constexpr char COMPANION_EXTENSION[] = "KeyMouseService";

bool IsAskedForFacts(const ElementName& element) {
    return element.GetBundleName() != COMPANION_BUNDLE || element.GetAbilityName() != COMPANION_EXTENSION;
}

}  // namespace

AbilityManager::AbilityManager(ThreadPool& pool, DeviceBus& bus, sptr<BundleManager> bundles)
    : pool_(pool), bus_(bus), bundles_(std::move(bundles)) {}

void AbilityManager::SetAnswerTime(std::chrono::milliseconds time) {
    const MutexLock lock(mutex_);
    answerTime_ = time;
}

int32_t AbilityManager::ConnectAbility(const Want& want, const sptr<IAbilityConnection>& connection, int32_t userId) {
    const ElementName& element = want.GetElement();
    const std::shared_ptr<const BundleCatalogue> catalogue = bundles_->GetCatalogue();
    const Bundle* bundle = catalogue->Find(element.GetBundleName());
    const BundleExtension* extension = catalogue->FindExtension(element.GetBundleName(), element.GetAbilityName());
    if (!connection) {
        return NO_CONNECTION;
    }
    if (extension == nullptr) {
        return NOT_INSTALLED;
    }
    if (bundle->user != (userId == CURRENT_USER ? DEVICE_USER : userId)) {
        return UNKNOWN_USER;
    }
    if (!bundle->enabled) {
        return DISABLED;
    }
    return FindOrMake(element, extension->service.name)->Connect(connection) ? 0 : NO_THREAD;
}

int32_t AbilityManager::ConnectServiceExtensionAbility(const Want& want, const sptr<IAbilityConnection>& connection,
    const sptr<IRemoteObject>& /*callerToken*/, int32_t userId) {
    return ConnectAbility(want, connection, userId);
}

int32_t AbilityManager::DisconnectAbility(const sptr<IAbilityConnection>& connection) {
    if (!connection) {
        return NO_CONNECTION;
    }
    std::vector<std::shared_ptr<Extension>> extensions;
    {
        const MutexLock lock(mutex_);
        for (const auto& [key, extension] : extensions_) {
            extensions.push_back(extension);
        }
    }
    int32_t result = NOT_CONNECTED;
    for (const std::shared_ptr<Extension>& extension : extensions) {
        if (extension->Disconnect(connection)) {
            result = 0;
        }
    }
    return result;
}

std::shared_ptr<Extension> AbilityManager::FindOrMake(const ElementName& element, const std::string& busName) {
    const MutexLock lock(mutex_);
    std::shared_ptr<Extension>& extension = extensions_[Key(element.GetBundleName(), element.GetAbilityName())];
    if (!extension) {
        extension = std::make_shared<Extension>(
            pool_, bus_, element, busName, IsAskedForFacts(element) ? std::optional(answerTime_) : std::nullopt);
    }
    return extension;
}

}  // namespace ZYNE::Linux
