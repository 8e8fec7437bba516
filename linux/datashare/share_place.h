// Where a device's shared data is, and how a process learns it: by a request to the token of data share.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/ipc/message_parcel.h"
#include "platform/ipc/remote_object.h"

namespace ZYNE::Linux {

struct SharePlace {
    std::string databaseFile;  // its absolute path
    std::string busAddress;    // of the device's bus, which carries notices

    bool operator==(const SharePlace&) const = default;
};

namespace ShareToken {

// Its name on the device's bus, at BusWire::DEFAULT_PATH.
inline constexpr char BUS_NAME[] = "io.collaborationfwk.DataShare1";

// Asks `token`, waiting at most `waitTimeSeconds`. Empty when it does not answer.
std::optional<SharePlace> Ask(const sptr<IRemoteObject>& token, int waitTimeSeconds);

// Answers a request of Ask with `place`. 0, or the reason to refuse it.
int32_t Answer(uint32_t code, MessageParcel& data, MessageParcel& reply, const SharePlace& place);

}  // namespace ShareToken

}  // namespace ZYNE::Linux
