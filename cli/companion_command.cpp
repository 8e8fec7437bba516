#include <json/value.h>

#include "cli/crossing_commands.h"
#include "cli/json_output.h"
#include "client/crossing_client.h"

namespace ZYNE::Cli {

int RestartCompanion(const DeviceChoice& choice, bool json) {
    Client::CrossingClient device(ChooseDevice(choice, false));
    device.BindService(true);  // the only thing that gives new attempts
    device.BindService(false);
    if (json) {
        Json::Value result(Json::objectValue);
        result["restarted"] = true;
        PrintJson(result);
    }
    return 0;
}

}  // namespace ZYNE::Cli
