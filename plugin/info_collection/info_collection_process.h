// The door through which the host reaches the info-collection protocol, and the protocol's two messages.
//
// Request, from the device that asks:    {"commandType": 1, "keyList": ["name", ...]}
// Response, from the device that answers: {"name": "value", ...}
#pragma once

#include <json/json.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/host/ability_plugin.h"
#include "plugin/export.h"

namespace ZYNE::CollaborationFwk {

class LibraryRenewer;

// Any thread. Registered with the host as a plug-in when the library is loaded.
class InfoCollectionProcess final : public AbilityPlugin {
public:
    static constexpr int CTRL_CHANNEL_EVENT_TYPE = 3;  // under which the host delivers requests and responses

    // The one instance, made on first use and never destroyed. Null when memory is out; a later call tries again.
    CFWK_EXPORT static InfoCollectionProcess* GetInstance();

    // Registers another listener of the control channel with the host, as the constructor does. The host may call it
    // when it has lost the one it had.
    CFWK_EXPORT void InitEventListener();

    // Turns the text of a peer's request into one command; none when it is malformed or asks for something else.
    using AbilityPlugin::CreateCommand;
    CFWK_EXPORT std::vector<std::shared_ptr<Command>> CreateCommand(const std::string& commandProp) override;

    // The text of a request for `keys`, in their order.
    std::string GenerateInfoCollectionReqCommand(const std::vector<std::string>& keys);

    // `id` as eleven decimal digits; empty when it cannot be formatted.
    std::string UIntToElevenLengthString(uint32_t id);

    // Takes in a peer's response to the request `collaborationId`. `rawData` ends with a zero byte and is read up to
    // it; `rawDataLen` counts only against the size limit of 4 MiB. A response that is too large or malformed is
    // dropped and its request left to time out.
    void OnDataReceived(uint32_t collaborationId, const char* rawData, size_t rawDataLen);

    // Whether `root` has the form of a request, of whatever type.
    bool IsValidCommandProp(Json::Value& root);

private:
    friend class LibraryRenewer;  // tests start each case with a fresh library

    InfoCollectionProcess();
    ~InfoCollectionProcess();

    static constexpr char KEY_LIST[] = "keyList";
    static constexpr char COMMAND_TYPE[] = "commandType";

    static std::atomic<InfoCollectionProcess*> instance_;  // set under instanceMutex_
    static std::mutex instanceMutex_;
};

}  // namespace ZYNE::CollaborationFwk
