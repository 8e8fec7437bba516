#include <json/value.h>

#include "cli/crossing_commands.h"
#include "cli/json_output.h"
#include "client/crossing_client.h"

namespace ZYNE::Cli {

int RestartCompanion(const DeviceChoice& choice, bool json) {
    Client::CrossingClient device(ChooseDevice(choice, false));
    device.BindService(true);  // gives new attempts; the device takes it back as soon as this program has ended
    if (json) {
        Json::Value result(Json::objectValue);
        result["restarted"] = true;
        PrintJson(result);
    }
    return 0;
}

}  // namespace ZYNE::Cli
