#include "linux/services/service_keeper.h"

#include <utility>

#include "linux/base/log_domains.h"
#include "linux/bus/bus_wire.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

constexpr LogDomain LOG = LogDomains::BUS;

}  // namespace

class ServiceKeeper::DeathWatch final : public IRemoteObject::DeathRecipient {
public:
    DeathWatch(std::weak_ptr<ServiceKeeper> keeper, std::string name)
        : keeper_(std::move(keeper)), name_(std::move(name)) {}

    void OnRemoteDied(const wptr<IRemoteObject>& remote) override {
        const std::shared_ptr<ServiceKeeper> keeper = keeper_.lock();
        const sptr<IRemoteObject> died = remote.promote();
        if (keeper && died) {
            keeper->TakeDeath(name_, died);
        }
    }

private:
    const std::weak_ptr<ServiceKeeper> keeper_;
    const std::string name_;
};

void ServiceKeeper::Keep(const std::string& name, const sptr<RemoteObject>& remote) {
    sptr<RemoteObject> earlier;  // dropped after the lock
    {
        const MutexLock lock(mutex_);
        Kept& kept = services_[name];
        if (kept.remote == remote) {
            return;
        }
        earlier = std::exchange(kept.remote, remote);
        kept.started = Clock::now();
    }
    if (!remote->AddDeathRecipient(sptr<IRemoteObject::DeathRecipient>(new DeathWatch(weak_from_this(), name)))) {
        TakeDeath(name, remote);
    }
}

void ServiceKeeper::TakeDeath(const std::string& name, const sptr<IRemoteObject>& remote) {
    std::chrono::seconds pause{};
    RestartPauses pauses;
    sptr<RemoteObject> died;
    {
        const MutexLock lock(mutex_);
        Kept& kept = services_[name];
        if (sptr<IRemoteObject>(kept.remote) != remote) {
            return;  // a newer process has taken its place
        }
        died = std::exchange(kept.remote, nullptr);
        pause = kept.pauses.TakeDeath(died ? Clock::now() - kept.started : Clock::duration(0));
        pauses = kept.pauses;
    }
    auto startAgain = [weak = weak_from_this(), name] {
        if (const std::shared_ptr<ServiceKeeper> keeper = weak.lock()) {
            keeper->StartAgain(name);
        }
    };
    if (!pool_.AddLaterTask(pause, std::move(startAgain))) {
        return;  // the device is stopping
    }
    if (pauses.HasBecomeSteady()) {
        LogPrint(LogType::CORE, LogLevel::ERROR, LOG,
            "the service %{public}s dies again and again: it is started every %{public}d seconds from now on", name,
            static_cast<int>(pause.count()));
    } else if (!pauses.IsSteady()) {
        LogPrint(LogType::CORE, LogLevel::WARN, LOG,
            "the service %{public}s has died and is started again in %{public}d seconds", name,
            static_cast<int>(pause.count()));
    }
}

void ServiceKeeper::StartAgain(const std::string& name) {
    const std::shared_ptr<BusClient> client = bus_.GetClient();
    if (!client || IsAlive(name)) {
        return;
    }
    std::string error;
    const std::string owner = client->StartService(name, error);
    if (owner.empty()) {
        TakeDeath(name, nullptr);
    } else {
        Keep(name, client->GetRemote(owner, BusWire::DEFAULT_PATH));
    }
}

bool ServiceKeeper::IsAlive(const std::string& name) {
    const MutexLock lock(mutex_);
    const sptr<RemoteObject>& remote = services_[name].remote;
    return remote && !remote->IsDead();
}

}  // namespace ZYNE::Linux
