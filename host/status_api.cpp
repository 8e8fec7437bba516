#include "host/status_api.h"

#include <utility>

#include "host/api_error.h"
#include "host/bus_text.h"
#include "host/peer_choice.h"
#include "linux/datashare/share_limits.h"
#include "plugin/datashare/oobe_status_dependency.h"

namespace ZYNE::Host {
namespace {

using CollaborationFwk::OobeStatusDependency;
using CollaborationFwk::SetupFinding;

constexpr size_t MAX_TOLD_BYTES = 256;  // of a value; a valid one has one character

Setup::Setting Describe(const SetupFinding& finding) {
    if (finding.code != 0 && finding.code != Linux::SHARE_NO_SUCH_ROW) {
        throw ApiError("Failed", "the setting cannot be read: result " + std::to_string(finding.code));
    }
    return {
        finding.setting, finding.code == 0, BusTextOfAtMost(finding.value, MAX_TOLD_BYTES).text, finding.isInTheWay};
}

}  // namespace

Setup ReadSetup() {
    Setup setup{OobeStatusDependency::GetInstance().IsOobeReady(), {}};
    for (const SetupFinding& finding : OobeStatusDependency::ExplainSetup()) {
        setup.settings.push_back(Describe(finding));
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
