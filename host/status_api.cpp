#include "host/status_api.h"

#include <optional>
#include <utility>

#include "host/bus_text.h"
#include "host/peer_choice.h"
#include "host/setting_api.h"
#include "plugin/datashare/oobe_status_dependency.h"
#include "plugin/datashare/setup_conditions.h"

namespace ZYNE::Host {
namespace {

using CollaborationFwk::SetupCondition;

constexpr size_t MOST_TOLD_BYTES = 256;  // of a value, which has one character where somebody means it

Setup::Setting Look(const SetupCondition& condition) {
    const std::optional<std::string> found = ReadSetting(condition.setting, ALL_USERS);
    const std::string value = found.value_or("");
    return {
        condition.setting, found.has_value(), BusTextOfAtMost(value, MOST_TOLD_BYTES).text, !condition.Holds(value)};
}

}  // namespace

Setup ReadSetup() {
    Setup setup{CollaborationFwk::OobeStatusDependency::GetInstance().IsOobeReady(), {}};
    for (const SetupCondition& condition : CollaborationFwk::SETUP_CONDITIONS) {
        setup.settings.push_back(Look(condition));
    }
    return setup;
}

NetworkAnswer::All DescribeNetwork(const Linux::NetworkStatus& status) {
    std::vector<NetworkAnswer::Interface> interfaces;
    for (const Linux::NetworkStatus::Interface& interface : status.interfaces) {
        interfaces.emplace_back(BusText(interface.name), interface.addresses);
    }
    std::vector<NetworkAnswer::Pair> notes;
    for (const Linux::NetworkStatus::Note& note : status.notes) {
        notes.emplace_back(note.kind, BusText(note.text));
    }
    std::vector<NetworkAnswer::Pair> links;
    for (const Linux::NetworkStatus::Link& link : status.links) {
        links.emplace_back(ShortId(link.udid), link.address);
    }
    return {BusText(status.state), std::move(interfaces), status.port, std::move(notes), std::move(links)};
}

}  // namespace ZYNE::Host
