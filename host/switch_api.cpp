#include "host/switch_api.h"

#include <algorithm>
#include <utility>

#include "host/api_error.h"
#include "host/bus_text.h"
#include "host/peer_choice.h"
#include "host/setting_api.h"
#include "platform/host/device_profile_client.h"
#include "plugin/key_mouse/key_mouse_rules.h"
#include "plugin/key_mouse/key_mouse_service_manager.h"

namespace ZYNE::Host {
namespace {

using CollaborationFwk::DeviceProfileClient;
using CollaborationFwk::KeyMouseServiceManager;
namespace KeyMouseRules = CollaborationFwk::KeyMouseRules;
namespace ProfileNames = CollaborationFwk::ProfileNames;

constexpr int32_t FOREGROUND = -1;

int32_t ChooseUser(const Linux::Users& users, int32_t wanted) {
    int32_t user = wanted;
    if (wanted == FOREGROUND && users.GetForeground(user) != 0) {
        throw ApiError("Failed", "no user is in the foreground");
    }
    const std::vector<Linux::User> all = users.List();
    if (std::ranges::find(all, user, &Linux::User::id) == all.end()) {
        throw ApiError("Failed", "the device has no user " + std::to_string(user));
    }
    return user;
}

PeerSwitch Look(const KnownPeer& peer) {
    CharacteristicProfile profile;
    const bool isKnown = DeviceProfileClient::GetInstance().GetCharacteristicProfile(peer.udid,
                             ProfileNames::KEY_MOUSE_SERVICE, ProfileNames::KEY_MOUSE_CHARACTERISTIC, profile) == 0;
    const char* state = !isKnown ? "unknown" : KeyMouseRules::IsSwitchOn(profile) ? "on" : "off";
    return {BusText(peer.name), ShortId(peer.udid), state};
}

}  // namespace

std::tuple<int32_t, bool, std::vector<PeerSwitch>> GetSwitch(
    const Linux::Users& users, int32_t user, std::vector<KnownPeer> peers) {
    const int32_t owner = ChooseUser(users, user);
    const std::string value =
        ReadSetting(KeyMouseServiceManager::KEY_MOUSE_SWITCH_STATUS_KEY, owner).value_or(std::string());
    SortByName(peers);
    std::vector<PeerSwitch> switches;
    for (const KnownPeer& peer : peers) {
        if (peer.online) {
            switches.push_back(Look(peer));
        }
    }
    return {owner, KeyMouseRules::IsSwitchOn(value), std::move(switches)};
}

int32_t SetSwitch(const Linux::Users& users, bool isOn, int32_t user) {
    const int32_t owner = ChooseUser(users, user);
    WriteSetting(KeyMouseServiceManager::KEY_MOUSE_SWITCH_STATUS_KEY,
        isOn ? KeyMouseRules::SWITCH_ON : KeyMouseServiceManager::KEY_MOUSE_SWITCH_OFF, owner);
    return owner;
}

}  // namespace ZYNE::Host
