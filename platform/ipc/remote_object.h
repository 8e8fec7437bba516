// An object of another process that requests can be sent to.
#pragma once

#include <cstdint>

#include "platform/ipc/message_option.h"
#include "platform/ipc/message_parcel.h"
#include "platform/ipc/ref_base.h"

namespace ZYNE {

// Any thread. Held by sptr.
class PLATFORM_API IRemoteObject : public virtual RefBase {
public:
    // Is told once that the process behind a remote object is gone.
    class PLATFORM_API DeathRecipient : public virtual RefBase {
    public:
        // On a thread of the port, never on one that is inside AddDeathRecipient. `remote` may be gone already.
        virtual void OnRemoteDied(const wptr<IRemoteObject>& remote) = 0;
        ~DeathRecipient() override;
    };

    // Results of SendRequest. A port may add codes of its own; the library only tells 0 from the rest.
    enum Result : int32_t {
        OK = 0,
        DEAD = 1,         // the process behind the object is gone, or went while it was asked
        TIMED_OUT = 2,    // no answer within the option's wait time
        REFUSED = 3,      // the object answered with an error
        TOO_LARGE = 4,    // the request or the answer does not fit the transport
        BAD_MESSAGE = 5,  // the answer is no parcel
    };

    // Sends `data` with the request code `code` and, for a synchronous option, blocks until the answer is in `reply`,
    // the process dies or the wait time is over. Several requests may be under way at once; a slow one holds up no
    // other.
    virtual int32_t SendRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) = 0;

    // Has `recipient` told when the process dies. Never calls it inline. The object holds its recipients strongly.
    // False when the process is dead already or `recipient` is null; it is then never told.
    virtual bool AddDeathRecipient(const sptr<DeathRecipient>& recipient) = 0;

    // Forgets `recipient`. May be called inside OnRemoteDied and never waits for one that is running. False when it was
    // not registered.
    virtual bool RemoveDeathRecipient(const sptr<DeathRecipient>& recipient) = 0;
};

}  // namespace ZYNE
