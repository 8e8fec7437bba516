#include "linux/services/device_bus.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "linux/base/log_domains.h"
#include "linux/base/process_handle.h"
#include "linux/bus/bus_address.h"
#include "linux/services/bus_config.h"
#include "linux/services/bus_daemon.h"
#include "linux/services/orphans.h"
#include "linux/services/runtime_directory.h"
#include "linux/services/socket_watch.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

constexpr LogDomain LOG = LogDomains::BUS;

constexpr char CONFIG_FILE[] = "bus.conf";
constexpr char SERVICE_DIRECTORY[] = "services";
constexpr size_t MAX_SOCKET_PATH = 107;  // bytes, the system's limit for a socket's path
constexpr std::chrono::milliseconds SERVICE_END_TIME{2000};

void CheckSocket(const std::filesystem::path& socket) {
    if (socket.native().size() > MAX_SOCKET_PATH) {
        throw std::runtime_error("the path " + socket.native() + " is too long for a socket, which takes " +
            std::to_string(MAX_SOCKET_PATH) + " bytes");
    }
}

std::vector<ProcessHandle> FindServices(BusClient& client, const std::vector<BusService>& services) {
    std::vector<ProcessHandle> processes;
    for (const BusService& service : services) {
        const std::string owner = client.GetNames().GetOwner(service.name);
        if (!owner.empty()) {
            processes.emplace_back(client.FindProcess(owner));
        }
    }
    return processes;
}

void AwaitServices(const std::vector<ProcessHandle>& processes) {
    const auto deadline = std::chrono::steady_clock::now() + SERVICE_END_TIME;
    for (const ProcessHandle& process : processes) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (!process.WaitUntilEnded(std::max(left, std::chrono::milliseconds(0)))) {
            LogPrint(LogType::CORE, LogLevel::WARN, LOG, "a service did not end with the bus and is killed");
            process.Kill();
        }
    }
}

}  // namespace

// What exists on this machine while the bus is up; removed in reverse order.
struct DeviceBus::Running {
    explicit Running(const BusOptions& options) : directory(options.directory), services(options.services) {}
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;
    ~Running() {
        watch.reset();
        daemon.reset();
        RemoveFiles();
    }

    void Begin() {
        RemoveFiles();  // of a predecessor that was killed
        const std::filesystem::path& path = directory.GetPath();
        directory.Write(CONFIG_FILE, BusConfig(BusAddress(path), path / SERVICE_DIRECTORY));
        std::filesystem::create_directory(path / SERVICE_DIRECTORY);
        for (const BusService& service : services) {
            directory.Write(
                std::filesystem::path(SERVICE_DIRECTORY) / ActivationFileName(service), ActivationFile(service));
        }
        daemon = std::make_unique<BusDaemon>(path / CONFIG_FILE, directory.GetBusLock());
        since = Orphans::StartOf(daemon->GetPid());
        Orphans::ForgetEnded(daemon->GetPid());
    }

    void RemoveFiles() const {
        std::error_code ignored;
        std::filesystem::remove(BusSocket(directory.GetPath()), ignored);
        std::filesystem::remove(directory.GetPath() / CONFIG_FILE, ignored);
        std::filesystem::remove_all(directory.GetPath() / SERVICE_DIRECTORY, ignored);
    }

    const RuntimeDirectory directory;
    const std::vector<BusService> services;
    std::unique_ptr<BusDaemon> daemon;
    uint64_t since = 0;  // when the bus daemon was started: whatever it starts is younger
    EventLoop loop{"collabd-bus"};
    std::unique_ptr<SocketWatch> watch;
};

DeviceBus::DeviceBus(ThreadPool& pool) : pool_(pool) {}

DeviceBus::~DeviceBus() {
    Stop();
}

void DeviceBus::Start(const BusOptions& options) {
    const MutexLock lock(mutex_);
    if (running_) {
        throw std::runtime_error("the bus is up already");
    }
    CheckSocket(BusSocket(std::filesystem::absolute(options.directory)));
    auto running = std::make_unique<Running>(options);
    running->Begin();
    const std::filesystem::path socket = BusSocket(running->directory.GetPath());
    running->watch = std::make_unique<SocketWatch>(running->loop, socket, [socket, lost = options.lost] {
        LogPrint(
            LogType::CORE, LogLevel::ERROR, LOG, "%{public}s has vanished: nobody reaches the bus", socket.native());
        if (lost) {
            lost();
        }
    });
    client_ = std::make_shared<BusClient>(
        running->loop, running->daemon->GetAddress(), pool_.Poster(), [lost = options.lost] {
            LogPrint(LogType::CORE, LogLevel::ERROR, LOG, "the bus has ended");
            if (lost) {
                lost();
            }
        });
    running_ = std::move(running);
    LogPrint(LogType::CORE, LogLevel::INFO, LOG, "the bus is up in %{public}s, %{public}zu services can be started",
        running_->directory.GetPath().native(), running_->services.size());
}

void DeviceBus::Stop() {
    std::unique_ptr<Running> running;
    std::shared_ptr<BusClient> client;
    {
        const MutexLock lock(mutex_);
        running.swap(running_);
        client.swap(client_);
    }
    if (!running) {
        return;
    }
    running->watch.reset();
    const std::vector<ProcessHandle> services = FindServices(*client, running->services);
    client->Close();
    running->loop.Stop();
    running->daemon.reset();
    AwaitServices(services);
    if (running->since != 0) {
        Orphans::EndAll(running->since);
    }
}

std::string DeviceBus::GetAddress() const {
    const MutexLock lock(mutex_);
    return running_ ? running_->daemon->GetAddress() : std::string();
}

EventLoop* DeviceBus::GetLoop() const {
    const MutexLock lock(mutex_);
    return running_ ? &running_->loop : nullptr;
}

EventLoop::Clock::time_point DeviceBus::LastRound() const {
    const MutexLock lock(mutex_);
    return running_ ? running_->loop.LastRound() : EventLoop::Clock::now();
}

std::shared_ptr<BusClient> DeviceBus::GetClient() const {
    const MutexLock lock(mutex_);
    return client_;
}

}  // namespace ZYNE::Linux
