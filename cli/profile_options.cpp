// Commands about profiles: get, put, delete, list, watch.
#include <memory>
#include <string>

#include "cli/options.h"

namespace ZYNE::Cli {
namespace {

constexpr const char* DEVICE_HELP = "A peer, by its name or its id as 'devices' shows it, or the device itself";

struct Options {
    std::string device;
    ProfileKey key;
    std::string value;
    ProfileFilter filter;
    bool json = false;
};

void AddService(CLI::App* command, Options& options) {
    command->add_option("--service", options.key.service, "The service that the value belongs to")
        ->required()
        ->type_name("SERVICE");
}

CLI::Option* AddType(CLI::App* command, Options& options) {
    return command->add_option("--type", options.key.serviceType, "The service's type")->type_name("TYPE");
}

void AddKey(CLI::App* command, Options& options) {
    command->add_option("KEY", options.key.key, "The value's name under its service")->required();
}

void AddGet(CLI::App& profile, const DeviceChoice& device, Run& run) {
    CLI::App* command = profile.add_subcommand("get", "Print one value of a profile");
    auto options = std::make_shared<Options>();
    command->add_option("DEVICE", options->device, DEVICE_HELP)->required();
    AddKey(command, *options);
    AddService(command, *options);
    AddType(command, *options);
    command->add_flag("--json", options->json, "Print JSON");
    command->callback([&device, &run, options] {
        run = [&device, options] {
            return GetProfile(device, options->device, options->key, options->json);
        };
    });
}

void AddPut(CLI::App& profile, const DeviceChoice& device, Run& run) {
    CLI::App* command = profile.add_subcommand("put", "Publish a value in the device's own profile");
    auto options = std::make_shared<Options>();
    AddKey(command, *options);
    command->add_option("VALUE", options->value, "The value; - reads standard input to its end")->required();
    AddService(command, *options);
    AddType(command, *options)->required();
    command->add_flag("--json", options->json, "Print JSON");
    command->callback([&device, &run, options] {
        run = [&device, options] {
            return PutProfile(device, options->key, options->value, options->json);
        };
    });
}

void AddDelete(CLI::App& profile, const DeviceChoice& device, Run& run) {
    CLI::App* command = profile.add_subcommand("delete", "Take a value out of the device's own profile");
    auto options = std::make_shared<Options>();
    AddKey(command, *options);
    AddService(command, *options);
    command->add_flag("--json", options->json, "Print JSON");
    command->callback([&device, &run, options] {
        run = [&device, options] {
            return DeleteProfile(device, options->key, options->json);
        };
    });
}

void AddList(CLI::App& profile, const DeviceChoice& device, Run& run) {
    CLI::App* command = profile.add_subcommand("list", "List what is known of every device's profile, or of one's");
    auto options = std::make_shared<Options>();
    command->add_option("DEVICE", options->device, DEVICE_HELP);
    command->add_flag("--json", options->json, "Print JSON");
    command->callback([&device, &run, options] {
        run = [&device, options] {
            return ListProfiles(device, options->device, options->json);
        };
    });
}

void AddWatch(CLI::App& profile, const DeviceChoice& device, Run& run) {
    CLI::App* command = profile.add_subcommand("watch", "Print changes of profiles as they come, until interrupted");
    auto options = std::make_shared<Options>();
    command->add_option("DEVICE", options->filter.device, DEVICE_HELP);
    command->add_option("--service", options->filter.service, "Only values of this service")->type_name("SERVICE");
    command->add_option("--key", options->filter.key, "Only values of this name")->type_name("KEY");
    command->add_flag("--json", options->json, "Print one JSON object a line");
    command->callback([&device, &run, options] {
        run = [&device, options] {
            return WatchProfiles(device, options->filter, options->json);
        };
    });
}

}  // namespace

void AddProfile(CLI::App& app, const DeviceChoice& device, Run& run) {
    CLI::App* profile = app.add_subcommand("profile", "Profiles: values that a device publishes for its peers");
    profile->require_subcommand(1);
    AddGet(*profile, device, run);
    AddPut(*profile, device, run);
    AddDelete(*profile, device, run);
    AddList(*profile, device, run);
    AddWatch(*profile, device, run);
}

}  // namespace ZYNE::Cli
