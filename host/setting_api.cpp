#include "host/setting_api.h"

#include <memory>

#include "host/api_error.h"
#include "linux/datashare/share_limits.h"
#include "platform/datashare/settings_data.h"
#include "platform/host/data_share_utils.h"
#include "platform/system_ability/system_ability_ids.h"

namespace ZYNE::Host {
namespace {

using CollaborationFwk::DataShareUtils;

// A helper that is released after use.
class Table {
public:
    explicit Table(const std::string& uri)
        : uri_(uri), helper_(DataShareUtils::GetDataShareHelper(uri, SystemAbilityIds::DEVICE_PROFILE)) {
        if (helper_ == nullptr) {
            throw ApiError("Failed", "the settings cannot be reached: the device is starting or ending");
        }
    }
    Table(const Table&) = delete;
    Table& operator=(const Table&) = delete;
    ~Table() { helper_->Release(); }

    // Both return the number of rows.
    int32_t Update(const std::string& key, const DataShareValuesBucket& row) {
        return Checked(helper_->Update(uri_, DataSharePredicates().EqualTo(SettingsData::KEY_COLUMN, key), row));
    }
    int32_t Insert(const DataShareValuesBucket& row) { return Checked(helper_->Insert(uri_, row)); }

private:
    static int32_t Checked(int32_t result) {
        if (result < 0) {
            throw ApiError("Failed", "the setting cannot be written: result " + std::to_string(result));
        }
        return result;
    }

    const Uri uri_;
    const std::shared_ptr<DataShareHelper> helper_;
};

std::string TableUri(int32_t user) {
    if (user == ALL_USERS) {
        return SettingsData::SHARED_TABLE;
    }
    if (user < 0) {
        throw ApiError("Failed", "there is no user " + std::to_string(user));
    }
    return SettingsData::USER_TABLE + std::to_string(user) + SettingsData::PROXY_QUERY;
}

}  // namespace

std::optional<std::string> ReadSetting(const std::string& key, int32_t user) {
    std::string value;
    const int32_t code = DataShareUtils::QueryStringValue(TableUri(user), key, value);
    if (code == Linux::SHARE_NO_SUCH_ROW) {
        return std::nullopt;
    }
    if (code != 0) {
        throw ApiError("Failed", "the setting cannot be read: result " + std::to_string(code));
    }
    return value;
}

void WriteSetting(const std::string& key, const std::string& value, int32_t user) {
    Table table(TableUri(user));
    DataShareValuesBucket row;
    row.Put(SettingsData::VALUE_COLUMN, value);
    if (table.Update(key, row) == 0) {
        row.Put(SettingsData::KEY_COLUMN, key);
        table.Insert(row);
    }
}

}  // namespace ZYNE::Host
