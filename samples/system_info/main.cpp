// A system service that tells facts about the machine.
//
// A device knows it by two files beside this one: system_abilities.json says under which number and bus name it runs
// and how it is started, requestSaPre.json which facts it offers and with which token and code it is asked.
#include <string>
#include <vector>

#include <json/writer.h>

#include "client/service.h"
#include "samples/system_info/facts.h"

namespace {

constexpr char BUS_NAME[] = "org.example.SystemInfo";               // "busName" in system_abilities.json
constexpr char16_t INTERFACE_TOKEN[] = u"org.example.ISystemInfo";  // "sa_descriptor" in requestSaPre.json
constexpr uint32_t GET_FACTS = 1;                                   // "cmdCode_id"
constexpr int32_t REFUSED = -1;

// {"hostname": {"value": "desk"}, "onBattery": {"value": false}}: one member for each name that is known.
std::string Describe(const std::vector<std::string>& names) {
    Json::Value answer(Json::objectValue);
    for (const std::string& name : names) {
        const auto fact = Sample::Facts().find(name);
        if (fact != Sample::Facts().end()) {
            answer[name]["value"] = fact->second();
        }
    }
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "";
    return Json::writeString(writer, answer);
}

// The request: the interface token, then the names as a string vector. The reply: one string.
int32_t Answer(uint32_t code, ZYNE::MessageParcel& data, ZYNE::MessageParcel& reply, const ZYNE::IPCContext&) {
    std::vector<std::string> names;
    if (code != GET_FACTS || data.ReadInterfaceToken() != INTERFACE_TOKEN || !data.ReadStringVector(names)) {
        return REFUSED;
    }
    return reply.WriteString(Describe(names)) ? 0 : REFUSED;
}

}  // namespace

int main() {
    return ZYNE::Client::RunService(BUS_NAME, &Answer);
}
