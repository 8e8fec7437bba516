#include "linux/network/control/request_dispatch.h"

#include "linux/base/guarded_call.h"
#include "linux/network/presence/fabric_log.h"

namespace ZYNE::Linux {
namespace {

using CollaborationFwk::Command;
using CollaborationFwk::PluginType;

// Why a command is released.
constexpr uint32_t STARTED = 0;
constexpr uint32_t REFUSED = 1;

// Whether the command was started.
bool Run(Command& command, int32_t session, const std::string& networkId) {
    int32_t code = 0;
    bool isAllowed = false;
    const bool isDone = GuardedCall("a command", [&] {
        isAllowed = command.AuthenticationCheck(networkId);
        code = isAllowed ? command.Execute(session) : 0;
    });
    const bool isStarted = isDone && isAllowed && code == 0;
    if (!isStarted) {
        FabricPrint(LogLevel::WARN,
            "a command of device %{public}s is not started, allowed: %{public}d, code: %{public}d",
            Anonymous(networkId), isAllowed, code);
    }
    GuardedCall("releasing a command", [&] { command.Release(isStarted ? STARTED : REFUSED); });
    return isStarted;
}

SessionTable::Commands MakeCommands(const PluginRegistry& plugins, const std::string& text) {
    SessionTable::Commands commands;
    CollaborationFwk::AbilityPlugin* const plugin = plugins.Find(PluginType::INFO_COLLECTION);
    if (plugin == nullptr) {
        FabricPrint(LogLevel::WARN, "a request is dropped: no plug-in takes it");
        return commands;
    }
    GuardedCall("making commands", [&] { commands = plugin->CreateCommand(text); });
    std::erase(commands, nullptr);
    return commands;
}

}  // namespace

bool DispatchRequest(const PluginRegistry& plugins, SessionTable& sessions, const std::string& networkId,
    const ControlMessage& request) {
    const auto commands = MakeCommands(plugins, request.service.commandProp);
    if (commands.empty()) {
        return false;
    }
    const int32_t session = sessions.Serve(networkId, request.session, commands);
    size_t started = 0;
    for (const auto& command : commands) {
        started += Run(*command, session, networkId) ? 1 : 0;
    }
    // What has started may have been answered already.
    return started > 0 || !sessions.End(session);
}

}  // namespace ZYNE::Linux
