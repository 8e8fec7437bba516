#include "linux/apps/extension.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "linux/bus/bus_wire.h"
#include "linux/bus/device_bus.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

constexpr LogDomain LOG{0xD004632, "Apps"};
constexpr std::chrono::seconds ASK_TIME{1};            // for the process to hear that it should end
constexpr std::chrono::milliseconds GRACE_TIME{2000};  // for it to end

}  // namespace

class Extension::DeathWatch final : public IRemoteObject::DeathRecipient {
public:
    explicit DeathWatch(std::weak_ptr<Extension> extension) : extension_(std::move(extension)) {}

    void OnRemoteDied(const wptr<IRemoteObject>& remote) override {
        if (const std::shared_ptr<Extension> extension = extension_.lock()) {
            extension->tasks_->Post([extension, remote] { extension->DoDie(remote); });
        }
    }

private:
    const std::weak_ptr<Extension> extension_;
};

Extension::Extension(ElementName element, std::string busName)
    : element_(std::move(element)), busName_(std::move(busName)), tasks_(std::make_shared<SerialTasks>()) {}

bool Extension::Connect(const sptr<IAbilityConnection>& connection) {
    {
        const std::scoped_lock lock(mutex_);
        ++accepted_[connection.GetRefPtr()];
    }
    if (!tasks_->Post([self = shared_from_this(), connection] { self->DoConnect(connection); })) {
        Forget(connection);
        return false;
    }
    return true;
}

bool Extension::Disconnect(const sptr<IAbilityConnection>& connection) {
    {
        const std::scoped_lock lock(mutex_);
        if (!accepted_.contains(connection.GetRefPtr())) {
            return false;
        }
    }
    return tasks_->Post([self = shared_from_this(), connection] { self->DoDisconnect(connection); });
}

void Extension::Forget(const sptr<IAbilityConnection>& connection) {
    const std::scoped_lock lock(mutex_);
    const auto found = accepted_.find(connection.GetRefPtr());
    if (found != accepted_.end() && --found->second == 0) {
        accepted_.erase(found);
    }
}

void Extension::DoConnect(const sptr<IAbilityConnection>& connection) {
    if (remote_ && !IsRunning()) {
        LoseEveryone();
    }
    if (!remote_ && !Start()) {
        Forget(connection);
        connection->OnAbilityConnectDone(element_, nullptr, START_FAILED);
        return;
    }
    if (std::find(connected_.begin(), connected_.end(), connection) == connected_.end()) {
        connected_.push_back(connection);
    } else {
        Forget(connection);
    }
    connection->OnAbilityConnectDone(element_, remote_, 0);
}

void Extension::DoDisconnect(const sptr<IAbilityConnection>& connection) {
    const auto found = std::find(connected_.begin(), connected_.end(), connection);
    if (found == connected_.end()) {
        return;
    }
    connected_.erase(found);
    Forget(connection);
    connection->OnAbilityDisconnectDone(element_, 0);
    if (connected_.empty()) {
        End();
    }
}

void Extension::DoDie(const wptr<IRemoteObject>& died) {
    if (remote_ && wptr<IRemoteObject>(remote_) == died) {
        LogPrint(LogType::CORE, LogLevel::WARN, LOG, "extension %{public}s of %{public}s has died",
            element_.GetAbilityName(), element_.GetBundleName());
        LoseEveryone();
    }
}

// Whoever connects again because a request found the process dead may be here before its death is reported.
bool Extension::IsRunning() const {
    const std::shared_ptr<BusClient> client = DeviceBus::GetInstance().GetClient();
    return client && !remote_->IsDead() && client->IsOnBus(remote_->GetUniqueName());
}

bool Extension::Start() {
    const std::shared_ptr<BusClient> client = DeviceBus::GetInstance().GetClient();
    std::string error = "the bus is not up";
    const std::string owner = client ? client->StartService(busName_, error) : std::string();
    if (!owner.empty()) {
        remote_ = client->GetRemote(owner, BusWire::DEFAULT_PATH);
        deathWatch_ = MakeSptr<DeathWatch>(weak_from_this());
        if (remote_->AddDeathRecipient(deathWatch_)) {
            return true;
        }
        remote_ = nullptr;
        error = "it ended right after its start";
    }
    LogPrint(LogType::CORE, LogLevel::ERROR, LOG, "extension %{public}s of %{public}s did not start: %{public}s",
        element_.GetAbilityName(), element_.GetBundleName(), error);
    return false;
}

void Extension::End() {
    const sptr<RemoteObject> remote = std::exchange(remote_, nullptr);
    const std::shared_ptr<BusClient> client = DeviceBus::GetInstance().GetClient();
    remote->RemoveDeathRecipient(deathWatch_);
    if (!client || remote->IsDead()) {
        return;
    }
    const ProcessHandle process = client->FindProcess(remote->GetUniqueName());
    const auto nothing = [](sd_bus_message*) {
        return 0;
    };
    client->GetCaller().Call({remote->GetUniqueName(), remote->GetPath(), BusWire::PROCESS_INTERFACE, BusWire::STOP},
        ASK_TIME, nothing, nothing);
    if (!process.WaitUntilEnded(GRACE_TIME)) {
        LogPrint(LogType::CORE, LogLevel::WARN, LOG, "extension %{public}s of %{public}s does not end and is killed",
            element_.GetAbilityName(), element_.GetBundleName());
        process.Kill();
    }
    client->GetNames().WaitUntilGone(remote->GetUniqueName(), GRACE_TIME);
}

void Extension::LoseEveryone() {
    remote_ = nullptr;
    for (const sptr<IAbilityConnection>& connection : std::exchange(connected_, {})) {
        Forget(connection);
        connection->OnAbilityDisconnectDone(element_, DIED);
    }
}

}  // namespace ZYNE::Linux
