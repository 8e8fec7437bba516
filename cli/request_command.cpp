#include <iostream>
#include <string>

#include <json/value.h>

#include "cli/crossing_commands.h"
#include "cli/json_output.h"
#include "cli/standard_input.h"
#include "client/crossing_client.h"
#include "platform/log/printable_text.h"

namespace ZYNE::Cli {
namespace {

std::string Meaning(int32_t code) {
    switch (code) {
    case 0:
        return "success";
    case 1001:
        return "the request is malformed";
    case 2451:
        return "the request's action is not known";
    default:
        return "unknown result";
    }
}

}  // namespace

int SendRequest(const DeviceChoice& choice, const std::string& request, bool json) {
    Client::CrossingClient device(ChooseDevice(choice, false));
    const Client::RequestAnswer answer = device.SendRequest(OrStandardInput(request));
    if (json) {
        Json::Value root(Json::objectValue);
        root["code"] = answer.code;
        root["meaning"] = Meaning(answer.code);
        root["result"] = answer.result;
        PrintJson(root);
    } else if (answer.code == 0) {
        std::string line;
        AppendPrintable(line, answer.result);
        std::cout << line << '\n';
    }
    if (answer.code != 0) {
        throw Refusal("result " + std::to_string(answer.code) + ": " + Meaning(answer.code));
    }
    return 0;
}

}  // namespace ZYNE::Cli
