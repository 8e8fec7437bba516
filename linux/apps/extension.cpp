#include "linux/apps/extension.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <utility>

#include "linux/apps/extension_remote.h"
#include "linux/base/log_domains.h"
#include "linux/bus/bus_wire.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

constexpr LogDomain LOG = LogDomains::APPS;
constexpr std::chrono::seconds ASK_TIME{1};            // for the process to hear that it should end
constexpr std::chrono::milliseconds GRACE_TIME{2000};  // for it to end

// In answer times.
constexpr int START_LIMIT = 3;  // a start that takes longer has a stand-in
constexpr int PAUSE = 10;       // before a start that failed is tried again

constexpr int32_t POOL_PARAM = 0;

}  // namespace

class Extension::DeathWatch final : public IRemoteObject::DeathRecipient {
public:
    explicit DeathWatch(std::weak_ptr<Extension> extension) : extension_(std::move(extension)) {}

    void OnRemoteDied(const wptr<IRemoteObject>& remote) override {
        if (const std::shared_ptr<Extension> extension = extension_.lock()) {
            extension->tasks_->Post(PostedTask([extension, remote] { extension->DoDie(remote); }));
        }
    }

private:
    const std::weak_ptr<Extension> extension_;
};

Extension::Extension(ThreadPool& pool, DeviceBus& bus, ElementName element, std::string busName,
    std::optional<std::chrono::milliseconds> answerTime)
    : pool_(pool), bus_(bus), element_(std::move(element)), busName_(std::move(busName)), answerTime_(answerTime),
      tasks_(MakeSerialTasks(pool)) {}

bool Extension::Connect(const sptr<IAbilityConnection>& connection) {
    sptr<AbsentExtension> absent;
    {
        const MutexLock lock(mutex_);
        ++accepted_[connection.GetRefPtr()];
        waiting_.push_back(connection);
        absent = isStarting_ ? absent_ : nullptr;
    }
    if (!tasks_->Post(PostedTask([self = shared_from_this(), connection] { self->DoConnect(connection); }))) {
        StopWaiting(connection);
        Forget(connection);
        return false;
    }
    if (absent && !absent->IsDead()) {
        pool_.AddAsynTask(
            [self = shared_from_this(), connection, absent] { self->TellStandIn(connection, absent); }, POOL_PARAM);
    }
    return true;
}

bool Extension::Disconnect(const sptr<IAbilityConnection>& connection) {
    {
        const MutexLock lock(mutex_);
        if (!accepted_.contains(connection.GetRefPtr())) {
            return false;
        }
    }
    return tasks_->Post(PostedTask([self = shared_from_this(), connection] { self->DoDisconnect(connection); }));
}

void Extension::Forget(const sptr<IAbilityConnection>& connection) {
    const MutexLock lock(mutex_);
    const auto found = accepted_.find(connection.GetRefPtr());
    if (found != accepted_.end() && --found->second == 0) {
        accepted_.erase(found);
    }
}

void Extension::DoConnect(const sptr<IAbilityConnection>& connection) {
    if (remote_ && !IsRunning()) {
        LoseEveryone();
    }
    const bool isStarted = remote_ || Start();
    StopWaiting(connection);
    if (!isStarted) {
        Forget(connection);
        connection->OnAbilityConnectDone(element_, GetStandIn(), START_FAILED);
        return;
    }
    if (std::find(connected_.begin(), connected_.end(), connection) == connected_.end()) {
        connected_.push_back(connection);
    } else {
        Forget(connection);
    }
    connection->OnAbilityConnectDone(element_, object_, 0);
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
    const std::shared_ptr<BusClient> client = bus_.GetClient();
    return client && !remote_->IsDead() && client->IsOnBus(remote_->GetUniqueName());
}

bool Extension::Start() {
    if (!BeginStart()) {
        return false;
    }
    const bool isStarted = StartProcess();
    EndStart(isStarted);
    return isStarted;
}

bool Extension::StartProcess() {
    const std::shared_ptr<BusClient> client = bus_.GetClient();
    std::string error = "the bus is not up";
    const std::string owner = client ? client->StartService(busName_, error) : std::string();
    if (!owner.empty()) {
        remote_ = client->GetRemote(owner, BusWire::DEFAULT_PATH);
        deathWatch_ = MakeSptr<DeathWatch>(weak_from_this());
        if (remote_->AddDeathRecipient(deathWatch_)) {
            object_ = MakeObject(remote_);
            return true;
        }
        remote_ = nullptr;
        error = "it ended right after its start";
    }
    LogPrint(LogType::CORE, LogLevel::ERROR, LOG, "extension %{public}s of %{public}s did not start: %{public}s",
        element_.GetAbilityName(), element_.GetBundleName(), error);
    return false;
}

sptr<IRemoteObject> Extension::MakeObject(const sptr<RemoteObject>& remote) {
    if (!answerTime_) {
        return remote;
    }
    auto hung = [weak = weak_from_this(), remote = wptr<RemoteObject>(remote)] {
        const std::shared_ptr<Extension> extension = weak.lock();
        const sptr<RemoteObject> alive = remote.promote();
        if (extension && alive) {
            extension->tasks_->Post(PostedTask([extension, alive] { extension->KillHung(alive); }));
        }
    };
    return ExtensionRemote::Make(pool_.Poster(), remote, *answerTime_, std::move(hung));
}

void Extension::KillHung(const sptr<RemoteObject>& remote) const {
    const std::shared_ptr<BusClient> client = bus_.GetClient();
    if (!client || remote->IsDead()) {
        return;
    }
    LogPrint(LogType::CORE, LogLevel::WARN, LOG,
        "extension %{public}s of %{public}s has left %{public}d requests in a row unanswered and is killed",
        element_.GetAbilityName(), element_.GetBundleName(), AnswerBreaker::MAX_MISSES);
    const ProcessHandle process = client->FindProcess(remote->GetUniqueName());
    process.Kill();
    process.WaitUntilEnded(GRACE_TIME);
    client->GetNames().WaitUntilGone(remote->GetUniqueName(), GRACE_TIME);
}

// False when a start failed a moment ago.
bool Extension::BeginStart() {
    if (!answerTime_) {
        return true;
    }
    uint64_t start = 0;
    {
        const MutexLock lock(mutex_);
        if (absent_ && !absent_->IsDead()) {
            return false;
        }
        isStarting_ = true;
        start = ++starts_;
    }
    pool_.AddLaterTask(START_LIMIT * *answerTime_, [weak = weak_from_this(), start] {
        if (const std::shared_ptr<Extension> extension = weak.lock()) {
            extension->StandIn(start);
        }
    });
    return true;
}

// The stand-in goes when the process is there, or when a start is worth another try.
void Extension::EndStart(bool isStarted) {
    if (!answerTime_) {
        return;
    }
    sptr<AbsentExtension> absent;
    {
        const MutexLock lock(mutex_);
        isStarting_ = false;
        if (!isStarted && (!absent_ || absent_->IsDead())) {
            absent_ = sptr<AbsentExtension>(new AbsentExtension(pool_.Poster()));
        }
        absent = absent_;
    }
    if (absent && (isStarted || !pool_.AddLaterTask(PAUSE * *answerTime_, [absent] { absent->Die(); }))) {
        absent->Die();
    }
}

// Whoever hears of it only after the process itself gets a stand-in that is dead, and connects again.
void Extension::StandIn(uint64_t start) {
    std::vector<sptr<IAbilityConnection>> waiting;
    sptr<AbsentExtension> absent;
    {
        const MutexLock lock(mutex_);
        if (!isStarting_ || starts_ != start) {
            return;
        }
        absent = absent_ = sptr<AbsentExtension>(new AbsentExtension(pool_.Poster()));
        waiting = waiting_;
    }
    LogPrint(LogType::CORE, LogLevel::WARN, LOG,
        "extension %{public}s of %{public}s is slow to start: it counts as gone", element_.GetAbilityName(),
        element_.GetBundleName());
    for (const sptr<IAbilityConnection>& connection : waiting) {
        TellStandIn(connection, absent);
    }
}

void Extension::TellStandIn(const sptr<IAbilityConnection>& connection, const sptr<AbsentExtension>& absent) const {
    connection->OnAbilityConnectDone(element_, absent, START_FAILED);
}

void Extension::StopWaiting(const sptr<IAbilityConnection>& connection) {
    const MutexLock lock(mutex_);
    const auto found = std::find(waiting_.begin(), waiting_.end(), connection);
    if (found != waiting_.end()) {
        waiting_.erase(found);
    }
}

sptr<AbsentExtension> Extension::GetStandIn() {
    const MutexLock lock(mutex_);
    return absent_;
}

void Extension::End() {
    const sptr<RemoteObject> remote = std::exchange(remote_, nullptr);
    object_ = nullptr;
    const std::shared_ptr<BusClient> client = bus_.GetClient();
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
    object_ = nullptr;
    for (const sptr<IAbilityConnection>& connection : std::exchange(connected_, {})) {
        Forget(connection);
        connection->OnAbilityDisconnectDone(element_, DIED);
    }
}

}  // namespace ZYNE::Linux
