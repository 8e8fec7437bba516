// A system service and an app extension whose answers make trouble: the last part of an item's name says which.
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <functional>
#include <map>
#include <thread>

#include "client/service.h"
#include "platform/ipc/string_conversion.h"

namespace {

using ZYNE::IPCContext;
using ZYNE::MessageParcel;

constexpr size_t MAX_ANSWER_BYTES = 4194304;  // bytes of the message between the devices

// What stands around the value in an answer with one item.
size_t FrameSize(const std::string& name) {
    return std::string("{\n\t\"\" : \"\"\n}\n").size() + name.size();
}

std::string Slept(std::chrono::milliseconds time) {
    std::this_thread::sleep_for(time);
    return "slept";
}

// A process of its own, which nobody looks after and which does not listen.
std::string Detached() {
    const pid_t child = fork();
    if (child == 0) {
        signal(SIGTERM, SIG_IGN);
        setsid();
        close_range(STDERR_FILENO + 1, ~0u, 0);
        for (;;) {
            pause();
        }
    }
    return std::to_string(child);
}

std::string Value(const std::string& name) {
    const std::string kind = name.substr(name.find('.') + 1);
    if (kind == "hello") {
        return name == "app.hello" ? "hello from the app" : "hello from the service";
    }
    if (kind == "pid") {
        return std::to_string(getpid());
    }
    if (kind == "detach") {
        return Detached();
    }
    if (kind == "die") {
        _exit(1);
    }
    if (kind == "slow") {
        return Slept(std::chrono::milliseconds(1500));
    }
    if (kind == "late") {
        return Slept(std::chrono::milliseconds(6500));
    }
    return std::string(MAX_ANSWER_BYTES - FrameSize(name) + (kind == "oversize" ? 1 : 0), 'x');
}

std::string Reply(const std::string& name) {
    static const std::map<std::string, std::string> NONSENSE{
        {"service.notJson", "nonsense"},
        {"service.deep", std::string(100000, '[')},
        {"service.wrongTypes", R"({"service.wrongTypes": [1, {}, null]})"},
        {"service.noValue", R"({"service.noValue": {"value": {"value": 1}}})"},
        {"service.duplicates", R"({"service.duplicates": 1, "service.duplicates": {"value": "a", "value": "b"}})"},
    };
    const auto found = NONSENSE.find(name);
    return found != NONSENSE.end() ? found->second : "{\"" + name + "\": {\"value\": \"" + Value(name) + "\"}}";
}

int32_t ServeService(uint32_t code, MessageParcel& data, MessageParcel& reply, const IPCContext&) {
    std::vector<std::string> names;
    if (code != 7 || data.ReadInterfaceToken() != u"test.IProvider" || !data.ReadStringVector(names)) {
        return -1;
    }
    if (names.size() != 1) {  // the library asks for all of them once, when the service has been loaded
        reply.WriteString("{}");
    } else if (names.front() == "service.notAParcel") {
        reply.WriteInt32(-1);
    } else {
        reply.WriteString(Reply(names.front()));
    }
    return 0;
}

int32_t ServeApp(uint32_t code, MessageParcel& data, MessageParcel& reply, const IPCContext&) {
    const std::string name = ZYNE::Str16ToStr8(data.ReadString16());
    if (code != 0x1f) {
        return -1;
    }
    reply.WriteUint32(0);
    reply.WriteString16(ZYNE::Str8ToStr16(Value(name)));
    return 0;
}

}  // namespace

int main(int count, char** arguments) {
    const bool isApp = count > 1 && std::string(arguments[1]) == "app";
    return isApp ? ZYNE::Client::RunExtension("test.app", "Provider", ServeApp)
                 : ZYNE::Client::RunService("test.Provider", ServeService);
}
