// The way to the shared data of one provider: the tables of the system settings, or the data of an app.
//
// The text of a URI before the first '?' names the data. Of the parameters behind it, separated by '&', only "key"
// changes what is meant: it narrows an observer to the row of that key. Others, empty and repeated ones included, are
// passed over.
//
// Results of type int32_t: a number of rows, or 0 for success where nothing is counted; negative is the port's own
// error.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/datashare/data_ability_observer.h"
#include "platform/datashare/data_share_observer.h"
#include "platform/datashare/data_share_predicates.h"
#include "platform/datashare/data_share_result_set.h"
#include "platform/datashare/data_share_values_bucket.h"
#include "platform/datashare/uri.h"
#include "platform/export.h"
#include "platform/ipc/remote_object.h"

namespace ZYNE {

// Any thread, several at once on one helper. No operation, Creator included, calls an observer inline or waits for one
// that is running: the caller may hold locks that its observers take, and may call from inside an observer.
//
// An operation takes any URI of the provider, not only the one that the helper was made for; a helper may also be made
// for the beginning of a name that is completed later. Dropping a helper releases it.
class PLATFORM_API DataShareHelper {
public:
    // A helper for the provider of `uri`, waiting at most `waitTimeSeconds` for the provider to come up. `token` is the
    // remote object through which the caller may use shared data. `extUri` names a second way to the provider that is
    // tried when the first fails; empty when there is none. Null on failure. Defined by the port.
    static std::shared_ptr<DataShareHelper> Creator(
        const sptr<IRemoteObject>& token, const std::string& uri, const std::string& extUri, int waitTimeSeconds);

    virtual ~DataShareHelper() = default;

    // Has `observer` told of every NotifyChangeExt for `uri`, by any process including this one; with `descendants`
    // also of those for URIs whose path lies below it. Held until the helper is released. Registering twice tells
    // twice.
    virtual void RegisterObserverExt(const Uri& uri, std::shared_ptr<DataShareObserver> observer, bool descendants) = 0;

    // Has `observer` told of every Insert and Update under `uri`, by any process including this one. The registration,
    // and the port's hold on `observer`, outlives the helper and ends with UnregisterObserver. 0 is success.
    virtual int32_t RegisterObserver(const Uri& uri, const sptr<IDataAbilityObserver>& observer) = 0;

    // Ends what RegisterObserver began, also through another helper. A call that is under way may still be running
    // afterwards. 0 is success; it fails when `observer` is not registered for `uri`.
    virtual int32_t UnregisterObserver(const Uri& uri, const sptr<IDataAbilityObserver>& observer) = 0;

    // Adds one row and returns the number of rows added. Tells no DataShareObserver: that is NotifyChangeExt.
    virtual int32_t Insert(const Uri& uri, const DataShareValuesBucket& values) = 0;

    // Sets `values` in the rows that `predicates` means and returns their number, 0 when there are none. Never adds a
    // row.
    virtual int32_t Update(
        const Uri& uri, const DataSharePredicates& predicates, const DataShareValuesBucket& values) = 0;

    // The named columns of the rows that `predicates` means; every column when `columns` is empty. Null on failure.
    virtual std::shared_ptr<DataShareResultSet> Query(
        const Uri& uri, const DataSharePredicates& predicates, const std::vector<std::string>& columns) = 0;

    // Announces a change to the observers that RegisterObserverExt registered. Copies all of `changeInfo`, the bytes
    // that it points to included, before it returns.
    virtual void NotifyChangeExt(const DataShareObserver::ChangeInfo& changeInfo) = 0;

    // Ends the use of the helper: every later operation fails. False when it was released already.
    virtual bool Release() = 0;
};

}  // namespace ZYNE
