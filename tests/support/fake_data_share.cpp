#include "tests/support/fake_data_share.h"

#include <algorithm>

namespace ZYNE::Testing {
namespace {

constexpr char KEY_COLUMN[] = "KEYWORD";  // of settings tables
constexpr char VALUE_COLUMN[] = "VALUE";

template <typename Pairs>
std::string Join(const Pairs& pairs) {
    std::string text;
    for (const auto& [column, value] : pairs) {
        text.append(text.empty() ? "" : " ").append(column).append("=").append(value);
    }
    return text;
}

bool Fits(const FakeDataShare::Row& row, const DataSharePredicates& predicates) {
    return std::all_of(
        predicates.GetConditions().begin(), predicates.GetConditions().end(), [&](const auto& condition) {
            const auto found = row.find(condition.first);
            return found != row.end() && found->second == condition.second;
        });
}

}  // namespace

class FakeDataShare::ResultSet final : public DataShareResultSet {
public:
    ResultSet(FakeDataShare& owner, std::vector<std::vector<std::string>> rows)
        : owner_(owner), rows_(std::move(rows)) {}

    int GetRowCount(int& count) override {
        count = static_cast<int>(rows_.size());
        return owner_.Call("GetRowCount", "");
    }
    int GoToRow(int position) override {
        row_ = static_cast<size_t>(position);
        return owner_.Call("GoToRow", std::to_string(position));
    }
    int GetString(int columnIndex, std::string& value) override {
        const int code = owner_.Call("GetString", std::to_string(columnIndex));
        if (code == 0) {
            value = rows_.at(row_).at(static_cast<size_t>(columnIndex));
        }
        return code;
    }
    int Close() override { return owner_.Call("Close", ""); }

private:
    FakeDataShare& owner_;
    std::vector<std::vector<std::string>> rows_;
    size_t row_ = 0;
};

class FakeDataShare::Helper final : public DataShareHelper {
public:
    Helper(FakeDataShare& owner, std::string uri) : owner_(owner), uri_(std::move(uri)) {}

    void RegisterObserverExt(const Uri& uri, std::shared_ptr<DataShareObserver> observer, bool descendants) override {
        owner_.Call("RegisterObserverExt", uri.ToString() + (descendants ? ", true" : ", false"));
        owner_.extObservers.push_back({uri, std::move(observer), descendants});
    }
    int32_t RegisterObserver(const Uri& uri, const sptr<IDataAbilityObserver>& observer) override {
        const int32_t code = owner_.Call("RegisterObserver", uri.ToString());
        if (code == 0) {
            owner_.abilityObservers.push_back({uri, observer});
        }
        return code;
    }
    int32_t UnregisterObserver(const Uri& uri, const sptr<IDataAbilityObserver>& observer) override {
        const int32_t code = owner_.Call("UnregisterObserver", uri.ToString());
        const size_t removed = std::erase_if(owner_.abilityObservers,
            [&](const AbilityObserver& other) { return other.uri == uri && other.observer == observer; });
        return code != 0 || removed > 0 ? code : 1;
    }
    int32_t Insert(const Uri& uri, const DataShareValuesBucket& values) override {
        const int32_t code = owner_.Call("Insert", uri.ToString() + ", " + Join(values.GetValues()));
        if (code != 0) {
            return code;
        }
        owner_.Table(uri.ToString()).push_back(values.GetValues());
        return 1;
    }
    int32_t Update(
        const Uri& uri, const DataSharePredicates& predicates, const DataShareValuesBucket& values) override {
        const int32_t code = owner_.Call(
            "Update", uri.ToString() + ", " + Join(predicates.GetConditions()) + ", " + Join(values.GetValues()));
        if (code != 0) {
            return code;
        }
        int32_t updated = 0;
        for (Row& row : owner_.Table(uri.ToString())) {
            if (Fits(row, predicates)) {
                for (const auto& [column, value] : values.GetValues()) {
                    row[column] = value;
                }
                ++updated;
            }
        }
        return updated;
    }
    std::shared_ptr<DataShareResultSet> Query(
        const Uri& uri, const DataSharePredicates& predicates, const std::vector<std::string>& columns) override {
        std::string names;
        for (const std::string& column : columns) {
            names.append(names.empty() ? "" : " ").append(column);
        }
        if (owner_.Call("Query", uri.ToString() + ", " + Join(predicates.GetConditions()) + ", " + names) != 0) {
            return nullptr;
        }
        std::vector<std::vector<std::string>> rows;
        for (Row& row : owner_.Table(uri.ToString())) {
            if (Fits(row, predicates)) {
                std::vector<std::string>& values = rows.emplace_back();
                for (const std::string& column : columns) {
                    values.push_back(row[column]);
                }
            }
        }
        return std::make_shared<ResultSet>(owner_, std::move(rows));
    }
    void NotifyChangeExt(const DataShareObserver::ChangeInfo& changeInfo) override {
        std::string uris;
        for (const Uri& uri : changeInfo.uris) {
            uris.append(uris.empty() ? "" : " ").append(uri.ToString());
        }
        const std::string data(static_cast<const char*>(changeInfo.data), changeInfo.size);
        const size_t buckets = changeInfo.valueBuckets.size();
        owner_.Call("NotifyChangeExt",
            std::to_string(static_cast<uint32_t>(changeInfo.changeType)) + ", " + uris + ", " + data +
                (buckets > 0 ? ", " + std::to_string(buckets) : ""));
    }
    bool Release() override { return owner_.Call("Release", uri_) == 0; }

private:
    FakeDataShare& owner_;
    const std::string uri_;
};

int32_t FakeDataShare::Call(const std::string& operation, const std::string& arguments) {
    const int32_t code = FakeCalls::Call(operation, arguments);
    if (const auto hook = duringNext.extract(operation)) {
        hook.mapped()();
    }
    return code;
}

std::shared_ptr<DataShareHelper> FakeDataShare::Create(
    const sptr<IRemoteObject>& token, const std::string& uri, const std::string& extUri, int waitTimeSeconds) {
    lastToken = token;
    const int32_t code = Call("Creator", uri + ", " + extUri + ", " + std::to_string(waitTimeSeconds));
    return code == 0 ? std::make_shared<Helper>(*this, uri) : nullptr;
}

std::shared_ptr<DataShareHelper> FakeDataShare::GetDataShareHelper(const std::string& uri, int32_t systemAbilityId) {
    const int32_t code = Call("GetDataShareHelper", uri + ", " + std::to_string(systemAbilityId));
    return code == 0 ? std::make_shared<Helper>(*this, uri) : nullptr;
}

int32_t FakeDataShare::QueryStringValue(const std::string& uri, const std::string& key, std::string& value) {
    const int32_t code = Call("QueryStringValue", uri + ", " + key);
    for (Row& row : Table(uri)) {
        if (row[KEY_COLUMN] == key) {
            value = row[VALUE_COLUMN];  // also when the call fails
            return code;
        }
    }
    return code != 0 ? code : 1;
}

void FakeDataShare::SetSetting(const std::string& uri, const std::string& key, const std::string& value) {
    std::vector<Row>& table = Table(uri);
    std::erase_if(table, [&](Row& row) { return row[KEY_COLUMN] == key; });
    table.push_back({{KEY_COLUMN, key}, {VALUE_COLUMN, value}});
}

void FakeDataShare::Announce(const std::string& uri, const char* data, uint32_t size) {
    const DataShareObserver::ChangeInfo change{DataShareObserver::ChangeType::UPDATE, {Uri(uri)}, data, size, {}};
    for (const ExtObserver& entry : std::vector(extObservers)) {
        const std::string& observed = entry.uri.ToString();
        if (uri == observed || (entry.descendants && uri.starts_with(observed + "/"))) {
            entry.observer->OnChange(change);
        }
    }
}

void FakeDataShare::Change(const std::string& uri) {
    for (const AbilityObserver& entry : std::vector(abilityObservers)) {
        if (entry.uri.ToString() == uri) {
            entry.observer->OnChange();
        }
    }
}

}  // namespace ZYNE::Testing
