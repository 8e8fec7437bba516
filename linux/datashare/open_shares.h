// The shared data that this process has open, of one device or of several.
#pragma once

#include <memory>
#include <vector>

#include "linux/base/mutex.h"
#include "linux/datashare/device_shares.h"

namespace ZYNE::Linux {

// Any thread.
class OpenShares {
public:
    explicit OpenShares(ShareHost host) : host_(std::move(host)) {}

    // The one for `place`. Throws std::exception with one line when the database or the bus cannot be reached.
    std::shared_ptr<DeviceShares> Open(const SharePlace& place);

    // Ends the use of `place`. Not in a handler of a connection.
    void Close(const SharePlace& place);

private:
    const ShareHost host_;
    Mutex mutex_;  // held while one is opened
    // They are kept after they are closed: if the last reference ended on one of their own threads, that thread would
    // wait for itself. A process uses one device, rarely more.
    std::vector<std::shared_ptr<DeviceShares>> shares_ GUARDED_BY(mutex_);
};

}  // namespace ZYNE::Linux
