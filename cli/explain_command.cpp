#include <algorithm>
#include <array>
#include <iostream>
#include <string>
#include <string_view>

#include <json/value.h>

#include "cli/command.h"
#include "cli/json_output.h"
#include "cli/text_table.h"
#include "client/desk.h"

namespace ZYNE::Cli {
namespace {

// What to do about a rule that does not hold.
struct Hint {
    std::string_view rule;
    std::string_view text;
};

constexpr std::array<Hint, 21> HINTS{{
    {"local switch on", "collabctl switch on"},
    {"local device type supported", "crossing is for phones, tablets and PCs"},
    {"peer trusted", "see with collabctl devices whether the peer is online"},
    {"peer device type supported", "crossing is for phones, tablets and PCs"},
    {"peer system type supported", "the peer runs a system that takes no part in crossing"},
    {"peer of the same account", "enrol the peer with the account of this device"},
    {"peer switch on", "collabctl switch on, on the peer"},
    {"companion installed", "install the app com.talvex.peerdesk on this device"},
    {"service connected", "follows when all needed rules hold; if it does not: collabctl companion restart"},
    {"reconnect attempts left", "each start counts: lost once more it stays lost, then collabctl companion restart"},
    {"neighbour at an edge", "collabctl desk place"},
    {"companion not stopped", "the companion is ending; see again in a moment"},
    {"this device not locked", "unlock the screen of this device"},
    {"this device has a display", "start an X server, and name it in the configuration as input.display"},
    {"peer's companion running", "see with collabctl explain on the peer; if it was lost: collabctl companion restart"},
    {"peer's companion of the same version", "install the same version on both devices"},
    {"peer has a display", "start an X server on the peer"},
    {"peer not locked", "unlock the screen of the peer"},
    {"no other visit under way", "collabctl desk return"},
    {"modifier held", "the configuration, desk.modifier, asks for a key to be held"},
    {"nothing held", "let go of the mouse's buttons, or set desk.drags in the configuration"},
}};

constexpr std::string_view TRUSTED = "peer trusted";
constexpr std::string_view CONNECTED = "service connected";

bool Holds(const std::vector<Client::CrossingRule>& rules, std::string_view name) {
    const auto rule = std::ranges::find(rules, name, &Client::CrossingRule::name);
    return rule != rules.end() && rule->holds;
}

// Empty when there is nothing to do.
std::string HintFor(const Client::CrossingRule& rule, bool isPeerTrusted) {
    if (!rule.holds && !isPeerTrusted && rule.name.starts_with("peer ") && rule.name != TRUSTED) {
        return "not known while the peer is not trusted";
    }
    const auto* const hint = std::ranges::find(HINTS, rule.name, &Hint::rule);
    return rule.holds || hint == HINTS.end() ? std::string() : std::string(hint->text);
}

std::string HintFor(const Client::DeskFact& fact) {
    const auto* const hint = std::ranges::find(HINTS, fact.name, &Hint::rule);
    return fact.holds || hint == HINTS.end() ? std::string() : std::string(hint->text);
}

bool IsAllowed(const std::vector<Client::CrossingRule>& rules) {
    return std::ranges::all_of(rules, [](const auto& rule) { return rule.holds || !rule.isRequired; });
}

bool Starts(const std::vector<Client::CrossingRule>& rules) {
    return IsAllowed(rules) && Holds(rules, CONNECTED);
}

// Whether the pointer would cross now.
bool Crosses(const std::vector<Client::CrossingRule>& rules, const std::vector<Client::DeskFact>& facts) {
    return Starts(rules) && !facts.empty() && std::ranges::all_of(facts, &Client::DeskFact::holds);
}

std::string Conclusion(const std::vector<Client::CrossingRule>& rules) {
    if (Starts(rules)) {
        return " starts";
    }
    return IsAllowed(rules) ? " may start, but the companion is not connected" : " does not start";
}

void PrintTable(const std::string& peer, const std::vector<Client::CrossingRule>& rules,
    const std::vector<Client::DeskFact>& facts) {
    TextTable table({"RULE", "HOLDS", "NEEDED", "WHAT TO DO"});
    for (const Client::CrossingRule& rule : rules) {
        table.AddRow({rule.name, rule.holds ? "yes" : "no", rule.isRequired ? "yes" : "no",
            HintFor(rule, Holds(rules, TRUSTED))});
    }
    for (const Client::DeskFact& fact : facts) {
        table.AddRow({fact.name, fact.holds ? "yes" : "no", "yes", HintFor(fact)});
    }
    table.Print(std::cout);
    const char* pointer = !Starts(rules) ? "" : Crosses(rules, facts) ? "; the pointer crosses" : "; the pointer stays";
    TextTable conclusion({"crossing with " + peer + Conclusion(rules) + pointer});
    conclusion.Print(std::cout << '\n');
}

Json::Value ToJson(const std::vector<Client::CrossingRule>& rules, const std::vector<Client::DeskFact>& facts) {
    Json::Value root(Json::objectValue);
    root["allowed"] = IsAllowed(rules);
    root["starts"] = Starts(rules);
    Json::Value& list = root["rules"] = Json::arrayValue;
    for (const Client::CrossingRule& rule : rules) {
        Json::Value& entry = list.append(Json::objectValue);
        entry["rule"] = rule.name;
        entry["holds"] = rule.holds;
        entry["needed"] = rule.isRequired;
        entry["whatToDo"] = HintFor(rule, Holds(rules, TRUSTED));
    }
    root["crosses"] = Crosses(rules, facts);
    Json::Value& companion = root["companionRules"] = Json::arrayValue;
    for (const Client::DeskFact& fact : facts) {
        Json::Value& entry = companion.append(Json::objectValue);
        entry["rule"] = fact.name;
        entry["holds"] = fact.holds;
        entry["whatToDo"] = HintFor(fact);
    }
    return root;
}

struct Options {
    std::string peer;
    bool json = false;
};

// What the companion says of the pointer's way; nothing while it does not run.
std::vector<Client::DeskFact> AskCompanion(Client::Device& device, const std::string& peerId) {
    try {
        return Client::Desk(device.Entry()).Explain(peerId);
    } catch (const Client::CompanionMissing&) {
        return {};
    }
}

int ExplainCrossing(Client::Device& device, const Options& options) {
    const std::vector<Client::CrossingRule> rules = device.Crossing().Explain(options.peer);
    const Client::PeerName peer = device.Info().FindPeer(options.peer);
    const std::vector<Client::DeskFact> facts = AskCompanion(device, peer.id);
    if (options.json) {
        PrintJson(ToJson(rules, facts));
    } else {
        PrintTable(peer.name, rules, facts);
    }
    return Starts(rules) ? 0 : STATUS_OF_NO;
}

}  // namespace

void AddExplain(CLI::App& app, CommandLine& line) {
    CLI::App* command = app.add_subcommand("explain", "Tell rule by rule why crossing with a peer starts or does not");
    auto options = std::make_shared<Options>();
    command->add_option("PEER", options->peer, "The peer: its name, or its id as 'devices' shows it")->required();
    SetAction(*command, line, options, ExplainCrossing);
}

}  // namespace ZYNE::Cli
