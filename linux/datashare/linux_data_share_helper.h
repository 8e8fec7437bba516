// A helper for the shared data of one provider.
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "linux/datashare/open_shares.h"
#include "platform/datashare/data_share_helper.h"

namespace ZYNE::Linux {

// Any thread. Where the seam does not count rows it answers ShareCodes. A URI of another provider is refused.
class LinuxDataShareHelper final : public DataShareHelper {
public:
    // `beginning` is the one that the provider has declared.
    LinuxDataShareHelper(std::shared_ptr<DeviceShares> shares, std::string beginning);
    LinuxDataShareHelper(const LinuxDataShareHelper&) = delete;
    LinuxDataShareHelper& operator=(const LinuxDataShareHelper&) = delete;
    ~LinuxDataShareHelper() override;

    // A refusal is logged.
    void RegisterObserverExt(const Uri& uri, std::shared_ptr<DataShareObserver> observer, bool descendants) override;
    // Registering the same twice changes nothing; one UnregisterObserver ends it.
    int32_t RegisterObserver(const Uri& uri, const sptr<IDataAbilityObserver>& observer) override;
    int32_t UnregisterObserver(const Uri& uri, const sptr<IDataAbilityObserver>& observer) override;

    // A row replaces the one that has its name; see ShareTable for what a row's name is.
    int32_t Insert(const Uri& uri, const DataShareValuesBucket& values) override;
    int32_t Update(const Uri& uri, const DataSharePredicates& predicates, const DataShareValuesBucket& values) override;
    std::shared_ptr<DataShareResultSet> Query(
        const Uri& uri, const DataSharePredicates& predicates, const std::vector<std::string>& columns) override;

    // A refusal is logged, as is a notice that cannot be sent.
    void NotifyChangeExt(const DataShareObserver::ChangeInfo& changeInfo) override;

    bool Release() override;

private:
    // Runs `operation` on what `uri` means. Returns its answer, or why it was not run.
    template <typename Operation>
    int32_t Use(const Uri& uri, const Operation& operation) const;
    int32_t Check(const Uri& uri, ShareName& name) const;

    const std::shared_ptr<DeviceShares> shares_;
    const std::string beginning_;
    std::atomic<bool> released_ = false;
};

// As DataShareHelper::Creator says; `shares` outlives the call.
std::shared_ptr<DataShareHelper> MakeDataShareHelper(OpenShares& shares, const sptr<IRemoteObject>& token,
    const std::string& uri, const std::string& extUri, int waitTimeSeconds);

}  // namespace ZYNE::Linux
