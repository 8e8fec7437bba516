#include "linux/network/profile/profile_exchange.h"

#include "linux/network/profile/profile.pb.h"

namespace ZYNE::Linux {

void ProfileExchange::OnUp(const std::string& udid, const ProfileSend& send) {
    outbox_.OnUp(udid, send);
    inbox_.OnUp(udid, send);
}

void ProfileExchange::OnDown(const std::string& udid) {
    outbox_.OnDown(udid);
    inbox_.OnDown(udid);
}

bool ProfileExchange::OnMessage(const std::string& udid, std::string_view message) {
    Wire::ProfileMessage parsed;
    if (!parsed.ParseFromArray(message.data(), static_cast<int>(message.size()))) {
        return false;
    }
    switch (parsed.content_case()) {
    case Wire::ProfileMessage::kResume:
        return outbox_.OnResume(udid, parsed.resume());
    case Wire::ProfileMessage::kStart:
        return inbox_.OnStart(udid, parsed.start());
    case Wire::ProfileMessage::kChange:
        return inbox_.OnChange(udid, parsed.change());
    case Wire::ProfileMessage::kAck:
        return outbox_.OnAck(udid, parsed.ack());
    case Wire::ProfileMessage::CONTENT_NOT_SET:
        break;
    }
    return false;
}

}  // namespace ZYNE::Linux
