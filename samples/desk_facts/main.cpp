// The extension of an app that offers facts to other devices.
//
// A device knows it by two files beside this one: manifest.json names the extension and how it is started, and
// resources/profile/info_collection.json the facts, each with the code that it is asked with.
#include <optional>
#include <string>

#include "client/service.h"
#include "platform/ipc/string_conversion.h"
#include "samples/desk_facts/facts.h"

namespace {

constexpr char BUNDLE[] = "org.example.deskfacts";  // "bundleName" in manifest.json
constexpr char EXTENSION[] = "FactsExtension";      // the extension's "name"
constexpr uint32_t GET_FACT = 0xa1;                 // "commandCode" in info_collection.json, which is hexadecimal
constexpr int32_t REFUSED = -1;

constexpr uint32_t FOUND = 0;
constexpr uint32_t UNKNOWN_FACT = 1;

// The request: the fact's name as UTF-16. The reply: an error code, then the value as UTF-16.
int32_t Answer(uint32_t code, ZYNE::MessageParcel& data, ZYNE::MessageParcel& reply, const ZYNE::IPCContext&) {
    if (code != GET_FACT) {
        return REFUSED;
    }
    const std::optional<std::string> fact = Sample::ReadFact(ZYNE::Str16ToStr8(data.ReadString16()));
    const bool written =
        reply.WriteUint32(fact ? FOUND : UNKNOWN_FACT) && reply.WriteString16(ZYNE::Str8ToStr16(fact.value_or("")));
    return written ? 0 : REFUSED;
}

}  // namespace

int main() {
    return ZYNE::Client::RunExtension(BUNDLE, EXTENSION, &Answer);
}
