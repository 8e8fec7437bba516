// One rule of crossing and its answer for one peer at this moment.
#pragma once

#include <string>

namespace ZYNE::CollaborationFwk {

struct CrossingRule {
    std::string name;
    bool holds;
    // Crossing starts with a peer for which every required rule holds. The others tell how far it has got.
    bool isRequired;
};

}  // namespace ZYNE::CollaborationFwk
