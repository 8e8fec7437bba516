#include "client/event_teller.h"

#include <cstdio>
#include <exception>
#include <utility>

namespace ZYNE::Client {

EventTeller::EventTeller(std::function<void(const CrossingEvent&)> told) : told_(std::move(told)) {}

EventTeller::~EventTeller() = default;

bool EventTeller::Add(CrossingEvent event) {
    const Linux::MutexLock lock(mutex_);
    if (waiting_.size() >= MOST_WAITING) {
        return false;
    }
    waiting_.push_back(std::move(event));
    added_.notify_one();
    return true;
}

void EventTeller::Start() {
    thread_ = std::jthread([this](const std::stop_token& stop) { TellAll(stop); });
}

void EventTeller::Stop() {
    thread_ = std::jthread();
}

void EventTeller::TellAll(const std::stop_token& stop) {
    while (const std::optional<CrossingEvent> event = TakeNext(stop)) {
        Tell(*event);
    }
}

// Nothing once it is to stop.
std::optional<CrossingEvent> EventTeller::TakeNext(const std::stop_token& stop) {
    Linux::MutexLock lock(mutex_);
    added_.wait(lock, stop, [this]() REQUIRES(mutex_) { return !waiting_.empty(); });
    if (stop.stop_requested()) {
        return std::nullopt;
    }
    std::optional<CrossingEvent> next(std::move(waiting_.front()));
    waiting_.pop_front();
    return next;
}

void EventTeller::Tell(const CrossingEvent& event) const noexcept {
    try {
        told_(event);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
    } catch (...) {
        std::fprintf(stderr, "exception of unknown type\n");
    }
}

}  // namespace ZYNE::Client
