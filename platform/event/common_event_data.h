// One common event. Its want's action is the event's name.
#pragma once

#include <utility>

#include "platform/ability/want.h"

namespace ZYNE {

class CommonEventData {
public:
    CommonEventData() = default;
    explicit CommonEventData(Want want) : want_(std::move(want)) {}

    void SetWant(const Want& want) { want_ = want; }
    const Want& GetWant() const { return want_; }

private:
    Want want_;
};

}  // namespace ZYNE
