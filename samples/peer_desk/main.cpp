// The companion app whose extension a device runs while keyboard and mouse may cross to a peer.
//
// This one carries nothing across: it prints when it is connected to, asked to disconnect, and left. What an app that
// does the crossing adds stands where this one prints.
#include <cstdio>
#include <ctime>
#include <string>

#include "client/service.h"

namespace {

constexpr char BUNDLE[] = "com.talvex.peerdesk";  // "bundleName" in manifest.json
constexpr char EXTENSION[] = "KeyMouseService";   // the extension's "name"
constexpr char16_t DESCRIPTOR[] = u"com.talvex.peerdesk.KeyMouseManager";
constexpr uint32_t DISCONNECT = 15;
constexpr int32_t REFUSED = -1;
constexpr int32_t DONE = 0;

// One line with the local time, at once, from any thread.
void Print(const std::string& text) {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    char stamp[sizeof "23:59:59"] = "";
    std::strftime(stamp, sizeof stamp, "%H:%M:%S", localtime_r(&now, &local));
    std::printf("%s %s: %s\n", stamp, EXTENSION, text.c_str());
    std::fflush(stdout);
}

// The request: the interface token alone, sent when the user who crosses is leaving. The reply: 0.
int32_t Answer(uint32_t code, ZYNE::MessageParcel& data, ZYNE::MessageParcel& reply, const ZYNE::IPCContext& context) {
    const std::string request = "request " + std::to_string(code) + " of process " + std::to_string(context.callingPid);
    if (code != DISCONNECT || data.ReadInterfaceToken() != DESCRIPTOR) {
        Print(request + " is refused");
        return REFUSED;
    }
    Print(request + ", disconnect");
    return reply.WriteInt32(DONE) ? 0 : REFUSED;
}

}  // namespace

int main() {
    return ZYNE::Client::RunExtension(BUNDLE, EXTENSION, &Answer,
        {[] { Print("connected"); },
            [] {
                Print("disconnected");
            }});
}
