#include "plugin/info_collection/ability_connection_imp.h"

#include <chrono>
#include <utility>

#include "platform/ability/ability_manager_client.h"
#include "platform/ipc/string_conversion.h"
#include "platform/time/time_source.h"
#include "plugin/utils/log.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;

constexpr int32_t CURRENT_USER = -1;
constexpr int WAIT_SECONDS = 8;
constexpr std::chrono::milliseconds PROXY_TIMEOUT{500};

}  // namespace

int32_t AbilityConnectionImp::ConnectAbility(const std::string& bundleName, const std::string& serviceName) {
    CFWK_LOGI(LOG, "ConnectAbility begin, bundleName:%{public}s, serviceName:%{public}s", bundleName, serviceName);
    {
        std::unique_lock lock(proxyMutex_);
        bundleName_ = bundleName;
        serviceName_ = serviceName;
    }
    Want want;
    want.SetElementName(bundleName, serviceName);
    return AbilityManagerClient::GetInstance()->ConnectAbility(want, sptr<IAbilityConnection>(this), CURRENT_USER);
}

int32_t AbilityConnectionImp::DisconnectAbility(const std::string& bundleName, const std::string& serviceName) {
    CFWK_LOGI(LOG, "DisconnectAbility begin, bundleName:%{public}s, serviceName:%{public}s", bundleName, serviceName);
    return AbilityManagerClient::GetInstance()->DisconnectAbility(sptr<IAbilityConnection>(this));
}

void AbilityConnectionImp::OnAbilityConnectDone(
    const ElementName& element, const sptr<IRemoteObject>& remoteObject, int resultCode) {
    CFWK_LOGI(LOG, "OnAbilityConnectDone, bundleName:%{public}s, abilityName:%{public}s, reusultCode:%{public}d",
        element.GetBundleName(), element.GetAbilityName(), resultCode);
    if (!remoteObject) {
        CFWK_LOGE(LOG, "OnAbilityConnectDone, failed get the remoteObject");
        return;
    }
    SetProxy(remoteObject);
    {
        std::unique_lock lock(proxyMutex_);
        isConnected_ = proxy_ != nullptr;  // not when it has been lost again meanwhile
    }
    {
        std::lock_guard lock(connectMutex_);
        connectCv_.notify_all();
    }
    if (!WatchForDeath()) {
        CFWK_LOGE(LOG, "create AbilityConnectionDeathRecipient failed");
    }
}

bool AbilityConnectionImp::WatchForDeath() {
    const sptr<IRemoteObject> proxy = GetProxy();
    // The remote holds the recipient and may outlive this object: nothing is held back.
    auto handler = [connection = wptr<AbilityConnectionImp>(this), remote = wptr<IRemoteObject>(proxy)] {
        if (const sptr<AbilityConnectionImp> alive = connection.promote()) {
            alive->OnServiceDied(remote.promote());
        }
    };
    const auto recipient = MakeSptr<AbilityConnectionDeathRecipient>(std::move(handler));
    if (!recipient) {
        return false;
    }
    {
        std::unique_lock lock(proxyMutex_);
        if (!proxy || proxy_ != proxy || deathRecipient_) {
            return true;  // lost again, or another callback brought a service and watches it
        }
        deathRecipient_ = recipient;
    }
    if (!proxy->AddDeathRecipient(recipient)) {
        OnServiceDied(proxy);
    } else if (!IsWatchedBy(recipient)) {
        proxy->RemoveDeathRecipient(recipient);  // given up before the watch began
    }
    return true;
}

bool AbilityConnectionImp::IsWatchedBy(const sptr<AbilityConnectionDeathRecipient>& recipient) {
    std::shared_lock lock(proxyMutex_);
    return deathRecipient_ == recipient;
}

void AbilityConnectionImp::OnServiceDied(const sptr<IRemoteObject>& remote) {
    CFWK_LOGI(LOG, "AbilityConnectionDeathRecipient handler");
    // A late word about an earlier service must not end the connection to its successor.
    EndConnection(remote);
}

void AbilityConnectionImp::EndConnection(const sptr<IRemoteObject>& remote) {
    sptr<AbilityConnectionDeathRecipient> recipient;
    std::unique_lock lock(proxyMutex_);
    if (remote && proxy_ == remote) {
        proxy_ = nullptr;
        std::swap(deathRecipient_, recipient);
        isConnected_ = false;  // with the lock held: a new proxy may be set right behind it
    }
}

void AbilityConnectionImp::OnAbilityDisconnectDone(const ElementName& element, int resultCode) {
    CFWK_LOGI(LOG, "OnAbilityDisconnectDone, bundleName:%{public}s, abilityName:%{public}s, reusultCode:%{public}d",
        element.GetBundleName(), element.GetAbilityName(), resultCode);
    isConnected_ = false;
    sptr<IRemoteObject> proxy;
    sptr<AbilityConnectionDeathRecipient> recipient;
    {
        std::shared_lock lock(proxyMutex_);
        proxy = proxy_;
        recipient = deathRecipient_;
    }
    if (!proxy) {
        CFWK_LOGE(LOG, "proxy is nullptr");
        return;
    }
    if (recipient) {
        proxy->RemoveDeathRecipient(recipient);
    }
    EndConnection(proxy);
}

void AbilityConnectionImp::SetProxy(sptr<IRemoteObject> proxy) {
    sptr<AbilityConnectionDeathRecipient> recipient;
    {
        std::unique_lock lock(proxyMutex_);
        std::swap(proxy_, proxy);  // the old one goes outside of the lock
        std::swap(deathRecipient_, recipient);
    }
    // Also when the same service has come again: it is watched anew, and by one recipient.
    if (proxy && recipient) {
        proxy->RemoveDeathRecipient(recipient);
    }
}

sptr<IRemoteObject> AbilityConnectionImp::GetProxy() {
    std::shared_lock lock(proxyMutex_);
    return proxy_;
}

bool AbilityConnectionImp::IsProxyNull() {
    return !GetProxy();
}

bool AbilityConnectionImp::IsServiceConnected() {
    return isConnected_;
}

sptr<IRemoteObject> AbilityConnectionImp::WaitForProxy() {
    TimeSource& time = TimeSource::GetInstance();
    std::unique_lock lock(connectMutex_);
    const TimeSource::TimePoint deadline = time.Now() + PROXY_TIMEOUT;
    sptr<IRemoteObject> proxy = GetProxy();
    while (!proxy && time.Now() < deadline) {
        time.WaitUntil(connectCv_, lock, deadline);
        proxy = GetProxy();
    }
    return proxy;
}

std::string AbilityConnectionImp::QueryDeviceDynamicInfo(int code, const std::string& key) {
    std::string serviceName;
    {
        std::shared_lock lock(proxyMutex_);
        serviceName = serviceName_;
    }
    CFWK_LOGI(LOG, "QueryDeviceDynamicInfo begin, key:%{public}s, serviceName:%{public}s", key, serviceName);
    if (IsProxyNull()) {
        CFWK_LOGE(LOG, "servie proxy_ is nullptr, wait .....");
        if (!WaitForProxy()) {
            CFWK_LOGE(LOG, "servie proxy_ is nullptr, return");
            return {};
        }
    }
    MessageParcel data;
    MessageParcel reply;
    MessageOption option(MessageOption::SYNCHRONOUS, WAIT_SECONDS);
    data.WriteString16(Str8ToStr16(key));
    const sptr<IRemoteObject> proxy = GetProxy();
    if (!proxy) {
        CFWK_LOGE(LOG, "proxy is nullptr");
        return {};
    }
    if (proxy->SendRequest(static_cast<uint32_t>(code), data, reply, option) != 0) {
        CFWK_LOGE(LOG, "QueryDeviceDynamicInfo SendRequest failed");
        return {};
    }
    const uint32_t errorCode = reply.ReadUint32();
    std::string value = Str16ToStr8(reply.ReadString16());
    if (errorCode != 0) {
        CFWK_LOGE(LOG, "QueryDeviceDynamicInfo erroCode is:%{public}d", errorCode);
    }
    CFWK_LOGI(LOG, "QueryDeviceInfo errorCode:%{public}d, value:%{public}s", errorCode, value);
    return value;
}

}  // namespace ZYNE::CollaborationFwk
