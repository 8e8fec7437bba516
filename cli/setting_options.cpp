// Commands about settings: get, put.
#include <cstdint>
#include <limits>
#include <memory>
#include <string>

#include "cli/options.h"
#include "client/device_client.h"

namespace ZYNE::Cli {
namespace {

struct Options {
    std::string key;
    std::string value;
    int32_t user = Client::DeviceClient::ALL_USERS;
    bool json = false;
};

std::shared_ptr<Options> AddCommon(CLI::App* command) {
    auto options = std::make_shared<Options>();
    command->add_option("KEY", options->key, "The setting's name")->required();
    command->add_option("--user", options->user, "A setting of this user; by default one that all users share")
        ->type_name("N")
        ->check(CLI::Range(0, std::numeric_limits<int32_t>::max()));
    command->add_flag("--json", options->json, "Print JSON");
    return options;
}

}  // namespace

void AddSetting(CLI::App& app, const DeviceChoice& device, Run& run) {
    CLI::App* setting = app.add_subcommand("setting", "Settings of the device");
    setting->require_subcommand(1);

    CLI::App* get = setting->add_subcommand("get", "Print a setting");
    auto wanted = AddCommon(get);
    get->callback([&device, &run, wanted] {
        run = [&device, wanted] {
            return GetSetting(device, wanted->key, wanted->user, wanted->json);
        };
    });

    CLI::App* put = setting->add_subcommand("put", "Give a setting a value; it need not be there yet");
    auto given = AddCommon(put);
    put->add_option("VALUE", given->value, "The value")->required();
    put->callback([&device, &run, given] {
        run = [&device, given] {
            return PutSetting(device, given->key, given->value, given->user, given->json);
        };
    });
}

}  // namespace ZYNE::Cli
