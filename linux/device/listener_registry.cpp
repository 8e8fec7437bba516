#include "linux/device/listener_registry.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <utility>

namespace ZYNE::Linux {
namespace {

constexpr size_t ID_DIGITS = 11;
constexpr int32_t OK = 0;
constexpr int32_t NOT_AN_ID = 6;

}  // namespace

void ListenerRegistry::RegisterEventListener(int eventType, std::shared_ptr<CollaborationFwk::EventListener> listener) {
    if (listener) {
        const MutexLock lock(mutex_);
        listeners_[eventType].push_back(std::move(listener));
    }
}

ListenerRegistry::CollaborationId ListenerRegistry::FetchCollaborationId(const std::string& id) {
    uint32_t number = 0;
    const char* const end = id.data() + std::min(id.find('-'), id.size());
    const auto [behind, error] = std::from_chars(id.data(), end, number);
    const bool isWhole = id.find('-') == ID_DIGITS && error == std::errc() && behind == end;
    return {isWhole ? OK : NOT_AN_ID, isWhole ? number : 0};
}

ListenerRegistry::Listeners ListenerRegistry::Of(int eventType) const {
    const MutexLock lock(mutex_);
    const auto listeners = listeners_.find(eventType);
    return listeners == listeners_.end() ? Listeners() : listeners->second;
}

}  // namespace ZYNE::Linux
