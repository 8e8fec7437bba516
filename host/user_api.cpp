#include "host/user_api.h"

#include "host/bus_text.h"

namespace ZYNE::Host {

std::vector<User> ListUsers(const Linux::Users& users) {
    int32_t foreground = -1;
    users.GetForeground(foreground);
    std::vector<User> all;
    for (const Linux::User& user : users.List()) {
        all.emplace_back(user.id, BusText(user.name), user.type == OsAccountType::PRIVATE, user.id == foreground);
    }
    return all;
}

}  // namespace ZYNE::Host
