// Connects to the extensions of installed apps.
#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "linux/apps/bundle_manager.h"
#include "linux/apps/extension.h"
#include "linux/base/mutex.h"
#include "platform/ability/ability_manager_client.h"
#include "platform/ability/extension_manager_client.h"

namespace ZYNE::Linux {

inline constexpr std::chrono::milliseconds DEFAULT_ANSWER_TIME{500};

// Any thread. Only extensions have a process that can be connected to.
class AbilityManager final : public AbilityManagerClient, public ExtensionManagerClient {
public:
    // What the operations answer besides 0.
    enum Result : int32_t {
        NO_CONNECTION = 1,  // the connection is null
        UNKNOWN_USER = 2,
        NOT_INSTALLED = 3,  // no such app, or it has no such extension
        DISABLED = 4,       // the app is
        NO_THREAD = 5,      // the pool has none left, or the device is stopping
        NOT_CONNECTED = 6,
    };

    AbilityManager(ThreadPool& pool, DeviceBus& bus, sptr<BundleManager> bundles);

    // How long extensions get to answer a request for a fact, from now on: those that were connected to before keep
    // theirs. The companion's extension, which is asked for none, has no such limit.
    void SetAnswerTime(std::chrono::milliseconds time);

    int32_t ConnectAbility(const Want& want, const sptr<IAbilityConnection>& connection, int32_t userId) override;
    int32_t DisconnectAbility(const sptr<IAbilityConnection>& connection) override;
    int32_t ConnectServiceExtensionAbility(const Want& want, const sptr<IAbilityConnection>& connection,
        const sptr<IRemoteObject>& callerToken, int32_t userId) override;

private:
    using Key = std::pair<std::string, std::string>;  // bundle name, extension name

    std::shared_ptr<Extension> FindOrMake(const ElementName& element, const std::string& busName);

    ThreadPool& pool_;
    DeviceBus& bus_;
    const sptr<BundleManager> bundles_;
    Mutex mutex_;
    std::chrono::milliseconds answerTime_ GUARDED_BY(mutex_) = DEFAULT_ANSWER_TIME;
    std::map<Key, std::shared_ptr<Extension>> extensions_ GUARDED_BY(mutex_);  // those ever connected to
};

}  // namespace ZYNE::Linux
