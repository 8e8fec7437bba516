// Shared data: tables by URI, and who observes them.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/datashare/data_share_helper.h"
#include "platform/host/data_share_utils.h"
#include "tests/support/fake_calls.h"

namespace ZYNE::Testing {

// One thread. Codes of operations that answer with an object make them answer null.
//
// In the journal: "Creator(uri, second uri, seconds)", "GetDataShareHelper(uri, ability)", "QueryStringValue(uri, key)",
// "RegisterObserverExt(uri, descendants)", "RegisterObserver(uri)", "UnregisterObserver(uri)",
// "Insert(uri, column=value ...)", "Update(uri, column=value ..., column=value ...)", "Query(uri, column=value ...,
// column ...)", "GetRowCount()", "GoToRow(row)", "GetString(column)", "Close()", "NotifyChangeExt(type, uri ..., data)"
// with ", count" behind the data where there are value buckets, "Release(uri)".
class FakeDataShare final : public FakeCalls {
public:
    using Row = std::map<std::string, std::string>;  // by column
    struct ExtObserver {
        Uri uri;
        std::shared_ptr<DataShareObserver> observer;
        bool descendants;
    };
    struct AbilityObserver {
        Uri uri;
        sptr<IDataAbilityObserver> observer;
    };

    explicit FakeDataShare(Journal& journal) : FakeCalls(journal) {}

    std::shared_ptr<DataShareHelper> Create(
        const sptr<IRemoteObject>& token, const std::string& uri, const std::string& extUri, int waitTimeSeconds);
    std::shared_ptr<DataShareHelper> GetDataShareHelper(const std::string& uri, int32_t systemAbilityId);
    int32_t QueryStringValue(const std::string& uri, const std::string& key, std::string& value);

    // The table that `uri` means: what stands behind '?' does not count.
    std::vector<Row>& Table(const std::string& uri) { return tables_[uri.substr(0, uri.find('?'))]; }
    // Sets a setting of a settings table, without telling anybody.
    void SetSetting(const std::string& uri, const std::string& key, const std::string& value);
    // Another process announces a change on `uri` to the observers of RegisterObserverExt; without data when it is null.
    void Announce(const std::string& uri, const char* data, uint32_t size);
    // Another process changes what `uri` means: its observers of RegisterObserver are told.
    void Change(const std::string& uri);

    sptr<IRemoteObject> lastToken;  // of Creator
    std::vector<ExtObserver> extObservers;
    std::vector<AbilityObserver> abilityObservers;
    // By operation: runs inside its next call, as soon as it stands in the journal.
    std::map<std::string, std::function<void()>> duringNext;

private:
    class Helper;
    class ResultSet;

    int32_t Call(const std::string& operation, const std::string& arguments);

    std::map<std::string, std::vector<Row>> tables_;
};

}  // namespace ZYNE::Testing
