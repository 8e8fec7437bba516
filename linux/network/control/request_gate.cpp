#include "linux/network/control/request_gate.h"

#include <utility>

namespace ZYNE::Linux {

RequestGate::Place RequestGate::Enter(const std::string& networkId, ControlMessage& request) {
    const size_t bytes = request.service.commandProp.size();
    const MutexLock lock(mutex_);
    Requests& requests = requests_[networkId];
    if (requests.underWay < MAX_UNDER_WAY) {
        ++requests.underWay;
        return Place::UNDER_WAY;
    }
    if (requests.waiting.size() >= MAX_WAITING || requests.waitingBytes + bytes > MAX_WAITING_BYTES) {
        return Place::REFUSED;
    }
    requests.waitingBytes += bytes;
    requests.waiting.push_back(std::move(request));
    return Place::WAITING;
}

std::optional<ControlMessage> RequestGate::Leave(const std::string& networkId) {
    const MutexLock lock(mutex_);
    const auto found = requests_.find(networkId);
    if (found == requests_.end()) {
        return std::nullopt;
    }
    Requests& requests = found->second;
    if (requests.waiting.empty()) {
        if (--requests.underWay == 0) {
            requests_.erase(found);
        }
        return std::nullopt;
    }
    std::optional<ControlMessage> next(std::move(requests.waiting.front()));
    requests.waiting.pop_front();
    requests.waitingBytes -= next->service.commandProp.size();
    return next;
}

void RequestGate::Forget(const std::string& networkId) {
    std::map<std::string, Requests>::node_type gone;
    const MutexLock lock(mutex_);
    gone = requests_.extract(networkId);
}

}  // namespace ZYNE::Linux
