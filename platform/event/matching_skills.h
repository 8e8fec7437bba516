// The names of the common events that somebody wants.
#pragma once

#include <set>
#include <string>

namespace ZYNE {

class MatchingSkills {
public:
    void AddEvent(const std::string& event) { events_.insert(event); }

    bool HasEvent(const std::string& event) const { return events_.count(event) != 0; }
    const std::set<std::string>& GetEvents() const { return events_; }

private:
    std::set<std::string> events_;
};

}  // namespace ZYNE
