#include "linux/datashare/linux_data_share_helper.h"

#include <algorithm>
#include <exception>
#include <stdexcept>
#include <utility>

#include "linux/base/log_domains.h"
#include "linux/datashare/result_set.h"
#include "linux/datashare/share_limits.h"
#include "platform/host/picker_result.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

constexpr LogDomain LOG = LogDomains::DATA_SHARE;

std::string Masked(const std::string& uri) {
    return CollaborationFwk::PickerResult::StringToAnonymous(uri);
}

// Logs the result of an operation that returns no code.
void LogRefusal(const char* operation, int32_t code) {
    if (code < 0) {
        LogPrint(LogType::CORE, LogLevel::ERROR, LOG, "%{public}s refused: %{public}d", operation, code);
    }
}

void LogNoHelper(LogLevel level, const std::string& uri, const std::exception& error) {
    LogPrint(LogType::CORE, level, LOG, "no data share helper for %{public}s: %{public}s", Masked(uri), error.what());
}

// Not an error: the app that declares a share may not be installed.
class NotProvided : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Throws std::exception with one line.
std::shared_ptr<DataShareHelper> MakeHelper(OpenShares& opened, const sptr<IRemoteObject>& token,
    const std::string& uri, const std::string& extUri, int waitTimeSeconds) {
    if (!token) {
        throw std::runtime_error("there is no token");
    }
    const std::optional<SharePlace> place = ShareToken::Ask(token, waitTimeSeconds);
    if (!place) {
        throw std::runtime_error("the token does not answer");
    }
    std::shared_ptr<DeviceShares> shares = opened.Open(*place);
    for (const std::string& candidate : {uri, extUri}) {
        const std::optional<ShareName> name = ParseShareName(candidate);
        std::string beginning = name ? shares->FindProvider(name->path) : std::string();
        if (!beginning.empty()) {
            return std::make_shared<LinuxDataShareHelper>(std::move(shares), std::move(beginning));
        }
    }
    throw NotProvided("nobody provides it");
}

}  // namespace

LinuxDataShareHelper::LinuxDataShareHelper(std::shared_ptr<DeviceShares> shares, std::string beginning)
    : shares_(std::move(shares)), beginning_(std::move(beginning)) {}

LinuxDataShareHelper::~LinuxDataShareHelper() {
    Release();
}

// Running out of memory is a failure like any other.
template <typename Operation>
int32_t LinuxDataShareHelper::Use(const Uri& uri, const Operation& operation) const {
    try {
        ShareName name;
        const int32_t code = Check(uri, name);
        return code == SHARE_OK ? operation(name) : code;
    } catch (const std::exception& error) {
        LogPrint(LogType::CORE, LogLevel::ERROR, LOG, "data share failed: %{public}s", error.what());
        return SHARE_STORE_FAILED;
    }
}

int32_t LinuxDataShareHelper::Check(const Uri& uri, ShareName& name) const {
    if (released_) {
        return SHARE_RELEASED;
    }
    std::optional<ShareName> parsed = ParseShareName(uri.ToString());
    if (!parsed) {
        return SHARE_BAD_URI;
    }
    name = std::move(*parsed);
    return IsAtOrBelow(name.path, beginning_) ? SHARE_OK : SHARE_NOT_PROVIDED;
}

void LinuxDataShareHelper::RegisterObserverExt(
    const Uri& uri, std::shared_ptr<DataShareObserver> observer, bool descendants) {
    LogRefusal("RegisterObserverExt",
        Use(uri, [&](const ShareName& name) { return shares_->ObserveNotices(this, name, descendants, observer); }));
    if (released_) {
        shares_->EndNotices(this);  // Release may have been called in between
    }
}

int32_t LinuxDataShareHelper::RegisterObserver(const Uri& uri, const sptr<IDataAbilityObserver>& observer) {
    return Use(uri, [&](const ShareName& name) { return shares_->ObserveRows(name, observer); });
}

int32_t LinuxDataShareHelper::UnregisterObserver(const Uri& uri, const sptr<IDataAbilityObserver>& observer) {
    return Use(uri, [&](const ShareName& name) { return shares_->EndRows(name, observer); });
}

int32_t LinuxDataShareHelper::Insert(const Uri& uri, const DataShareValuesBucket& values) {
    return Use(uri, [&](const ShareName& name) { return shares_->Insert(name.path, values.GetValues()); });
}

int32_t LinuxDataShareHelper::Update(
    const Uri& uri, const DataSharePredicates& predicates, const DataShareValuesBucket& values) {
    return Use(uri, [&](const ShareName& name) {
        return shares_->Update(name.path, predicates.GetConditions(), values.GetValues());
    });
}

std::shared_ptr<DataShareResultSet> LinuxDataShareHelper::Query(
    const Uri& uri, const DataSharePredicates& predicates, const std::vector<std::string>& columns) {
    std::shared_ptr<DataShareResultSet> found;
    LogRefusal("Query", Use(uri, [&](const ShareName& name) -> int32_t {
        if (columns.size() > ShareLimits::COLUMNS) {
            return SHARE_BAD_ROW;
        }
        std::vector<ShareTable::Row> rows;
        const int32_t code = shares_->Query(name.path, predicates.GetConditions(), columns, rows);
        if (code == SHARE_OK) {
            found = std::make_shared<ResultSet>(columns, std::move(rows));
        }
        return code;
    }));
    return found;
}

void LinuxDataShareHelper::NotifyChangeExt(const DataShareObserver::ChangeInfo& changeInfo) {
    if (changeInfo.uris.empty()) {
        LogRefusal("NotifyChangeExt", SHARE_BAD_URI);
        return;
    }
    LogRefusal("NotifyChangeExt", Use(changeInfo.uris.front(), [&](ShareName name) {
        for (const Uri& uri : changeInfo.uris) {
            const int32_t code = Check(uri, name);
            if (code != SHARE_OK) {
                return code;
            }
        }
        const std::optional<Notice> notice = CopyNotice(changeInfo);
        return notice ? shares_->Announce(*notice) : SHARE_BAD_ROW;
    }));
}

bool LinuxDataShareHelper::Release() {
    if (released_.exchange(true)) {
        return false;
    }
    shares_->EndNotices(this);
    return true;
}

std::shared_ptr<DataShareHelper> MakeDataShareHelper(OpenShares& shares, const sptr<IRemoteObject>& token,
    const std::string& uri, const std::string& extUri, int waitTimeSeconds) {
    try {
        return MakeHelper(shares, token, uri, extUri, waitTimeSeconds);
    } catch (const NotProvided& error) {
        LogNoHelper(LogLevel::INFO, uri, error);
    } catch (const std::exception& error) {
        LogNoHelper(LogLevel::ERROR, uri, error);
    }
    return nullptr;
}

}  // namespace ZYNE::Linux
