#include "host/user_api.h"

#include "host/bus_text.h"
#include "linux/device/users.h"

namespace ZYNE::Host {

std::vector<User> ListUsers() {
    int32_t foreground = -1;
    Linux::Users::GetInstance().GetForeground(foreground);
    std::vector<User> users;
    for (const Linux::User& user : Linux::Users::GetInstance().List()) {
        users.emplace_back(user.id, BusText(user.name), user.type == OsAccountType::PRIVATE, user.id == foreground);
    }
    return users;
}

void SwitchUser(int32_t user) {
    Linux::Users::GetInstance().Switch(user);
}

}  // namespace ZYNE::Host
