#include <cstdint>
#include <string>

#include <json/value.h>

#include "cli/command.h"
#include "cli/json_output.h"
#include "cli/standard_input.h"
#include "cli/text_table.h"

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

struct Options {
    std::string request;
    bool json = false;
};

int SendRequest(Client::Device& device, const Options& options) {
    const Client::RequestAnswer answer = device.Crossing().SendRequest(OrStandardInput(options.request));
    if (options.json) {
        Json::Value root(Json::objectValue);
        root["code"] = answer.code;
        root["meaning"] = Meaning(answer.code);
        root["result"] = answer.result;
        PrintJson(root);
    } else if (answer.code == 0) {
        PrintLine(answer.result);
    }
    if (answer.code != 0) {
        throw Refusal("result " + std::to_string(answer.code) + ": " + Meaning(answer.code));
    }
    return 0;
}

}  // namespace

void AddRequest(CLI::App& app, CommandLine& line) {
    CLI::App* command = app.add_subcommand("request", "Send a key-mouse request and print its result");
    auto options = std::make_shared<Options>();
    command
        ->add_option("JSON", options->request,
            R"(The request, such as {"action":"sendKeyMouseEvent","event":1}; - reads standard input to its end)")
        ->required();
    SetAction(*command, line, options, SendRequest);
}

}  // namespace ZYNE::Cli
