#include "host/status_api.h"

#include <optional>
#include <utility>

#include "host/bus_text.h"
#include "host/peer_choice.h"
#include "host/setting_api.h"
#include "plugin/datashare/oobe_status_dependency.h"

namespace ZYNE::Host {
namespace {

constexpr size_t MOST_TOLD_BYTES = 256;  // of a value, which has one character where somebody means it

// A setting that set-up depends on: what must or must not be its value.
struct Condition {
    const char* name;
    const char* value;
    bool mustBe;
};

constexpr Condition CONDITIONS[] = {
    {"device_provisioned", "1", true},
    {"user_setup_complete", "1", true},
    {"is_ota_finished", "0", false},
};

Setup::Setting Look(const Condition& condition) {
    const std::optional<std::string> value = ReadSetting(condition.name, ALL_USERS);
    const bool holds = (value == condition.value) == condition.mustBe;
    return {condition.name, value.has_value(), BusTextOfAtMost(value.value_or(""), MOST_TOLD_BYTES).text, !holds};
}

}  // namespace

Setup ReadSetup() {
    Setup setup{CollaborationFwk::OobeStatusDependency::GetInstance().IsOobeReady(), {}};
    for (const Condition& condition : CONDITIONS) {
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
