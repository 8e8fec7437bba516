// The app that carries keyboard and mouse to peers: the extension that a device runs while they may cross.
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>

#include "client/service.h"
#include "companion/program/companion.h"
#include "linux/base/mutex.h"

namespace {

using ZYNE::Companion::Companion;

constexpr char BUNDLE[] = "com.talvex.peerdesk";  // "bundleName" in manifest.json
constexpr char EXTENSION[] = "KeyMouseService";   // the extension's "name"
constexpr char KEEPER[] = "companion_keeper";     // beside this program
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

// The companion while somebody is connected to the extension.
class Extension {
public:
    void Start() {
        Print("connected");
        ZYNE::Client::DeviceEntry device;
        device.busAddress = std::getenv("DBUS_STARTER_ADDRESS");
        device.running = true;
        const auto program = std::filesystem::read_symlink("/proc/self/exe");
        auto companion = std::make_unique<Companion>(
            ZYNE::Companion::CompanionOptions{device, BUNDLE, program.parent_path() / KEEPER});
        const ZYNE::Linux::MutexLock lock(mutex_);
        companion_ = std::move(companion);
    }

    void Stop() {
        std::unique_ptr<Companion> companion;
        {
            const ZYNE::Linux::MutexLock lock(mutex_);
            companion = std::move(companion_);
        }
        companion.reset();
        Print("disconnected");
    }

    // The request: the interface token alone, sent when the user who crosses is leaving. The reply: 0.
    int32_t Answer(uint32_t code, ZYNE::MessageParcel& data, ZYNE::MessageParcel& reply) {
        if (code != DISCONNECT || data.ReadInterfaceToken() != DESCRIPTOR) {
            Print("request " + std::to_string(code) + " is refused");
            return REFUSED;
        }
        Print("request 15, disconnect");
        const ZYNE::Linux::MutexLock lock(mutex_);
        if (companion_) {
            companion_->BringHome();
        }
        return reply.WriteInt32(DONE) ? 0 : REFUSED;
    }

private:
    ZYNE::Linux::Mutex mutex_;
    std::unique_ptr<Companion> companion_ GUARDED_BY(mutex_);
};

}  // namespace

int main() {
    Extension extension;
    return ZYNE::Client::RunExtension(BUNDLE, EXTENSION,
        [&extension](uint32_t code, ZYNE::MessageParcel& data, ZYNE::MessageParcel& reply, const ZYNE::IPCContext&) {
            return extension.Answer(code, data, reply);
        },
        {[&extension] { extension.Start(); },
            [&extension] {
                extension.Stop();
            }});
}
