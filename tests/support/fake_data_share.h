// Shared data: tables by URI, and who observes them.
#pragma once

#include <algorithm>
#include <cstdint>
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
// In the journal: "Creator(uri, second uri, seconds)", "GetDataShareHelper(uri, ability)",
// "QueryStringValue(uri, key)", "RegisterObserverExt(uri, descendants)", "RegisterObserver(uri)",
// "UnregisterObserver(uri)", "Insert(uri, column=value ...)", "Update(uri, column=value ..., column=value ...)",
// "Query(uri, column=value ..., column ...)", "GetRowCount()", "GoToRow(row)", "GetString(column)", "Close()",
// "NotifyChangeExt(type, uri ..., data)" with ", count" behind the data where there are value buckets, "Release(uri)".
class FakeDataShare final : public FakeCalls {
public:
    using Row = std::map<std::string, std::string>;  // by column
    struct ExtObserver {
        Uri uri;
        std::shared_ptr<DataShareObserver> observer;
        bool descendants;
    };
    struct AbilityObserver {
        bool operator==(const AbilityObserver& other) const { return uri == other.uri && observer == other.observer; }

        Uri uri;
        sptr<IDataAbilityObserver> observer;
    };

    explicit FakeDataShare(Journal& journal) : FakeCalls(journal) {}

    std::shared_ptr<DataShareHelper> Create(
        const sptr<IRemoteObject>& token, const std::string& uri, const std::string& extUri, int waitTimeSeconds) {
        lastToken = token;
        const int32_t code = Call("Creator", uri + ", " + extUri + ", " + std::to_string(waitTimeSeconds));
        return code == 0 ? std::make_shared<Helper>(*this, uri) : nullptr;
    }
    std::shared_ptr<DataShareHelper> GetDataShareHelper(const std::string& uri, int32_t systemAbilityId) {
        const int32_t code = Call("GetDataShareHelper", uri + ", " + std::to_string(systemAbilityId));
        return code == 0 ? std::make_shared<Helper>(*this, uri) : nullptr;
    }
    // Sets `value` also when the call fails.
    int32_t QueryStringValue(const std::string& uri, const std::string& key, std::string& value) {
        const int32_t code = Call("QueryStringValue", uri + ", " + key);
        for (Row& row : Table(uri)) {
            if (row["KEYWORD"] == key) {
                value = row["VALUE"];
                return code;
            }
        }
        return code != 0 ? code : 1;
    }

    // The table that `uri` means: what stands behind '?' does not count.
    std::vector<Row>& Table(const std::string& uri) { return tables_[uri.substr(0, uri.find('?'))]; }
    // Sets a setting of a settings table, without telling anybody.
    void SetSetting(const std::string& uri, const std::string& key, const std::string& value) {
        std::vector<Row>& table = Table(uri);
        std::erase_if(table, [&](Row& row) { return row["KEYWORD"] == key; });
        table.push_back({{"KEYWORD", key}, {"VALUE", value}});
    }
    // Another process announces a change on `uri` to the observers of RegisterObserverExt; `data` may be null.
    void Announce(const std::string& uri, const char* data, uint32_t size) {
        const DataShareObserver::ChangeInfo change{DataShareObserver::ChangeType::UPDATE, {Uri(uri)}, data, size, {}};
        for (const ExtObserver& entry : std::vector(extObservers)) {
            const std::string& observed = entry.uri.ToString();
            if (uri == observed || (entry.descendants && uri.starts_with(observed + "/"))) {
                entry.observer->OnChange(change);
            }
        }
    }
    // Another process changes what `uri` means: its observers of RegisterObserver are told.
    void Change(const std::string& uri) {
        for (const AbilityObserver& entry : std::vector(abilityObservers)) {
            if (entry.uri.ToString() == uri) {
                entry.observer->OnChange();
            }
        }
    }

    sptr<IRemoteObject> lastToken;  // of Creator
    std::vector<ExtObserver> extObservers;
    std::vector<AbilityObserver> abilityObservers;

private:
    template <typename Pairs>
    static std::string Join(const Pairs& pairs) {
        std::string text;
        for (const auto& [column, value] : pairs) {
            text.append(text.empty() ? "" : " ").append(column).append("=").append(value);
        }
        return text;
    }
    // The rows of the table of `uri` that `predicates` means.
    std::vector<Row*> Select(const Uri& uri, const DataSharePredicates& predicates) {
        std::vector<Row*> rows;
        for (Row& row : Table(uri.ToString())) {
            if (std::all_of(predicates.GetConditions().begin(), predicates.GetConditions().end(),
                    [&](const auto& condition) { return row[condition.first] == condition.second; })) {
                rows.push_back(&row);
            }
        }
        return rows;
    }

    struct ResultSet final : DataShareResultSet {
        ResultSet(FakeDataShare& fake, std::vector<std::vector<std::string>> values)
            : owner(fake), rows(std::move(values)) {}

        int GetRowCount(int& count) override {
            count = static_cast<int>(rows.size());
            return owner.Call("GetRowCount", "");
        }
        int GoToRow(int position) override {
            row = static_cast<size_t>(position);
            return owner.Call("GoToRow", std::to_string(position));
        }
        int GetString(int columnIndex, std::string& value) override {
            const int code = owner.Call("GetString", std::to_string(columnIndex));
            if (code == 0) {
                value = rows.at(row).at(static_cast<size_t>(columnIndex));
            }
            return code;
        }
        int Close() override { return owner.Call("Close", ""); }

        FakeDataShare& owner;
        const std::vector<std::vector<std::string>> rows;
        size_t row = 0;
    };

    struct Helper final : DataShareHelper {
        Helper(FakeDataShare& fake, std::string ownUri) : owner(fake), name(std::move(ownUri)) {}

        void RegisterObserverExt(
            const Uri& uri, std::shared_ptr<DataShareObserver> observer, bool descendants) override {
            owner.Call("RegisterObserverExt", uri.ToString() + (descendants ? ", true" : ", false"));
            owner.extObservers.push_back({uri, std::move(observer), descendants});
        }
        int32_t RegisterObserver(const Uri& uri, const sptr<IDataAbilityObserver>& observer) override {
            owner.abilityObservers.push_back({uri, observer});
            return owner.Call("RegisterObserver", uri.ToString());
        }
        int32_t UnregisterObserver(const Uri& uri, const sptr<IDataAbilityObserver>& observer) override {
            owner.Call("UnregisterObserver", uri.ToString());
            return std::erase(owner.abilityObservers, AbilityObserver{uri, observer}) > 0 ? 0 : 1;
        }
        int32_t Insert(const Uri& uri, const DataShareValuesBucket& values) override {
            const int32_t code = owner.Call("Insert", uri.ToString() + ", " + Join(values.GetValues()));
            return code != 0 ? code : 1;
        }
        int32_t Update(
            const Uri& uri, const DataSharePredicates& predicates, const DataShareValuesBucket& values) override {
            const int32_t code = owner.Call(
                "Update", uri.ToString() + ", " + Join(predicates.GetConditions()) + ", " + Join(values.GetValues()));
            if (code != 0) {
                return code;
            }
            const std::vector<Row*> rows = owner.Select(uri, predicates);
            for (Row* row : rows) {
                for (const auto& [column, value] : values.GetValues()) {
                    (*row)[column] = value;
                }
            }
            return static_cast<int32_t>(rows.size());
        }
        std::shared_ptr<DataShareResultSet> Query(
            const Uri& uri, const DataSharePredicates& predicates, const std::vector<std::string>& columns) override {
            std::string names;
            for (const std::string& column : columns) {
                names.append(names.empty() ? "" : " ").append(column);
            }
            if (owner.Call("Query", uri.ToString() + ", " + Join(predicates.GetConditions()) + ", " + names) != 0) {
                return nullptr;
            }
            std::vector<std::vector<std::string>> rows;
            for (Row* row : owner.Select(uri, predicates)) {
                std::vector<std::string>& values = rows.emplace_back();
                for (const std::string& column : columns) {
                    values.push_back((*row)[column]);
                }
            }
            return std::make_shared<ResultSet>(owner, std::move(rows));
        }
        void NotifyChangeExt(const DataShareObserver::ChangeInfo& changeInfo) override {
            std::string uris;
            for (const Uri& uri : changeInfo.uris) {
                uris.append(uris.empty() ? "" : " ").append(uri.ToString());
            }
            const std::string data(static_cast<const char*>(changeInfo.data), changeInfo.size);
            const size_t buckets = changeInfo.valueBuckets.size();
            owner.Call("NotifyChangeExt",
                std::to_string(static_cast<uint32_t>(changeInfo.changeType)) + ", " + uris + ", " + data +
                    (buckets > 0 ? ", " + std::to_string(buckets) : ""));
        }
        bool Release() override { return owner.Call("Release", name) == 0; }

        FakeDataShare& owner;
        const std::string name;
    };

    std::map<std::string, std::vector<Row>> tables_;
};

}  // namespace ZYNE::Testing
