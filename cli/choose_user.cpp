#include <algorithm>
#include <string>

#include "cli/commands.h"
#include "client/crossing_client.h"

namespace ZYNE::Cli {

void CheckUser(const Client::DeviceEntry& device, int32_t user) {
    const std::vector<Client::User> users = Client::CrossingClient(device).ListUsers();
    if (std::ranges::find(users, user, &Client::User::id) == users.end()) {
        throw CommandError("the device has no user " + std::to_string(user));
    }
}

}  // namespace ZYNE::Cli
