// Interfaces that are called over IPC: their common base, the proxy and stub bases, and the cast from a remote object.
//
//     class IThing : public IRemoteBroker {
//     public:
//         static constexpr char16_t DESCRIPTOR[] = u"ZYNE.IThing";
//         virtual int32_t Do() = 0;
//     };
//     BrokerRegistration::GetInstance().Register(IThing::DESCRIPTOR,
//         [](const sptr<IRemoteObject>& remote) { return sptr<IRemoteBroker>(new ThingProxy(remote)); });
//     sptr<IThing> thing = iface_cast<IThing>(remote);
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>

#include "platform/ipc/ref_base.h"
#include "platform/ipc/remote_object.h"

namespace ZYNE {

class PLATFORM_API IRemoteBroker : public virtual RefBase {
public:
    // The remote object behind the interface; null for an object of this process that has none.
    virtual sptr<IRemoteObject> AsObject() = 0;
};

// The caller's side of an interface.
template <typename Interface>
class IRemoteProxy : public Interface {
public:
    explicit IRemoteProxy(const sptr<IRemoteObject>& remote) : remote_(remote) {}

    sptr<IRemoteObject> AsObject() override { return remote_; }

protected:
    sptr<IRemoteObject> Remote() const { return remote_; }

private:
    const sptr<IRemoteObject> remote_;
};

// The called side of an interface, for objects that live in this process and are called by the port without a bus.
template <typename Interface>
class IRemoteStub : public Interface {
public:
    sptr<IRemoteObject> AsObject() override { return nullptr; }
};

// From an interface's descriptor to the maker of its proxy. Any thread.
class PLATFORM_API BrokerRegistration {
public:
    using Factory = std::function<sptr<IRemoteBroker>(const sptr<IRemoteObject>&)>;

    static BrokerRegistration& GetInstance();

    // False when the descriptor has a maker already.
    bool Register(const std::u16string& descriptor, Factory factory);
    // A library that registers must unregister before it is unloaded.
    void Unregister(const std::u16string& descriptor);
    // A proxy for `remote`, or null when it is null or nobody registered the descriptor.
    sptr<IRemoteBroker> NewInstance(const std::u16string& descriptor, const sptr<IRemoteObject>& remote);

private:
    std::mutex mutex_;
    std::map<std::u16string, Factory> factories_;  // guarded by mutex_
};

// The interface behind `remote`: the object itself when it implements the interface in this process, else a proxy. Null
// when neither is possible.
template <typename Interface>
sptr<Interface> iface_cast(const sptr<IRemoteObject>& remote) {
    if (auto* local = dynamic_cast<Interface*>(remote.GetRefPtr())) {
        return sptr<Interface>(local);
    }
    const sptr<IRemoteBroker> broker = BrokerRegistration::GetInstance().NewInstance(Interface::DESCRIPTOR, remote);
    return sptr<Interface>(dynamic_cast<Interface*>(broker.GetRefPtr()));
}

}  // namespace ZYNE
