// Which common events a subscriber is told of.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "platform/event/matching_skills.h"

namespace ZYNE {

class CommonEventSubscribeInfo {
public:
    static constexpr int32_t ANY_PUBLISHER = -1;

    explicit CommonEventSubscribeInfo(MatchingSkills skills) : skills_(std::move(skills)) {}

    // Only events that a process of this user published.
    void SetPublisherUid(int32_t uid) { publisherUid_ = uid; }

    // Whether the event, published by a process of user `uid`, is for this subscriber.
    bool Accepts(const std::string& event, int32_t uid) const {
        return (publisherUid_ == ANY_PUBLISHER || publisherUid_ == uid) && skills_.HasEvent(event);
    }

    const MatchingSkills& GetMatchingSkills() const { return skills_; }
    int32_t GetPublisherUid() const { return publisherUid_; }

private:
    MatchingSkills skills_;
    int32_t publisherUid_ = ANY_PUBLISHER;
};

}  // namespace ZYNE
