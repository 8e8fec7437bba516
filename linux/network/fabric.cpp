#include "linux/network/fabric.h"

#include <stdexcept>
#include <utility>

#include "linux/network/fabric_node.h"
#include "linux/network/presence/fabric_log.h"

namespace ZYNE::Linux {

void Fabric::SetDeviceStateHandler(DeviceStateHandler handler) {
    const MutexLock lock(mutex_);
    std::swap(handler_, handler);
}

void Fabric::SetScreenStatus(int32_t status) {
    const MutexLock setting(screenMutex_);
    screenStatus_ = ToScreenStatus(status);
    if (const auto node = Node()) {
        node->SetScreenStatus(screenStatus_);
    }
}

void Fabric::Start(const FabricOptions& options) {
    const MutexLock starting(startMutex_);
    if (Node()) {
        throw std::runtime_error("the network runs already");
    }
    DeviceStateHandler handler;
    {
        const MutexLock lock(mutex_);
        handler = handler_;
    }
    const auto node = std::make_shared<FabricNode>(host_, options, std::move(handler));
    FabricPrint(LogLevel::INFO, "on the network as %{public}s, udid %{public}s, network id %{public}s",
        options.deviceName, Anonymous(node->Self().udid), Anonymous(node->Self().networkId));
    // Callbacks and requests, which come from here on, find the network running.
    SetNode(node);
    {
        const MutexLock setting(screenMutex_);
        node->SetScreenStatus(screenStatus_);
    }
    try {
        node->Begin();
    } catch (...) {
        SetNode(nullptr);
        throw;
    }
}

std::shared_ptr<FabricNode> Fabric::SetNode(std::shared_ptr<FabricNode> node) {
    const MutexLock lock(mutex_);
    return std::exchange(node_, std::move(node));
}

void Fabric::Stop() {
    const MutexLock stopping(startMutex_);
    if (const auto node = SetNode(nullptr)) {
        node->Stop();
    }
}

std::optional<DmDeviceInfo> Fabric::LocalDevice() const {
    const auto node = Node();
    return node ? std::optional(ToDeviceInfo(node->Self())) : std::nullopt;
}

std::string Fabric::UdidOf(const std::string& networkId) const {
    const auto node = Node();
    if (!node) {
        return "";
    }
    return networkId == node->Self().networkId ? node->Self().udid : node->Peers().UdidOf(networkId);
}

std::vector<Fabric::PeerStatus> Fabric::ListPeers() const {
    std::vector<PeerStatus> list;
    if (const auto node = Node()) {
        for (const PeerPtr& peer : node->Peers().All()) {
            list.push_back({ToDeviceInfo(peer->device), peer->IsOnline(), peer->screenStatus});
        }
    }
    return list;
}

NetworkStatus Fabric::Status() const {
    const auto node = Node();
    return node ? node->Status() : NetworkStatus{"not running", {}, 0, {}, {}};
}

std::chrono::steady_clock::time_point Fabric::LastRound() const {
    const auto node = Node();
    return node ? node->LastRound() : std::chrono::steady_clock::now();
}

bool Fabric::TakeRevocations(const std::string& document) {
    const auto node = Node();
    if (!node) {
        throw std::runtime_error("the network does not run");
    }
    return node->TakeRevocations(document);
}

uint32_t Fabric::OpenChannel(ChannelWish wish, ChannelAnswer answer) {
    if (const auto node = Node()) {
        return node->Channels().Open(std::move(wish), std::move(answer));
    }
    answer(ChannelRefusal::STOPPED, UniqueFd());
    return 0;
}

void Fabric::WithdrawChannel(uint32_t number) {
    if (const auto node = Node()) {
        node->Channels().Withdraw(number);
    }
}

std::shared_ptr<FabricNode> Fabric::Node() const {
    const MutexLock lock(mutex_);
    return node_;
}

}  // namespace ZYNE::Linux
