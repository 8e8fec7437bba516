#include "linux/network/link/link_rules.h"

namespace ZYNE::Linux {
namespace {

LinkChoice ChooseElder(const HeldLink& held, const PeerRun& newcomer) {
    return newcomer.age > held.age ? LinkChoice::TAKE_ELDER : LinkChoice::KEEP_ELDER;
}

}  // namespace

LinkChoice ChooseLink(const HeldLink* held, const PeerRun& newcomer) {
    if (held == nullptr) {
        return LinkChoice::TAKE;
    }
    if (held->run != newcomer.run) {
        return ChooseElder(*held, newcomer);
    }
    const bool hasLostIt = held->isReady && !newcomer.holdsLink && newcomer.lastBegin >= held->begin;
    return hasLostIt ? LinkChoice::TAKE : LinkChoice::KEEP;
}

LinkChoice ChooseWhenTold(const HeldLink* held, const PeerRun& newcomer) {
    return held == nullptr || held->run == newcomer.run ? LinkChoice::TAKE : ChooseElder(*held, newcomer);
}

}  // namespace ZYNE::Linux
