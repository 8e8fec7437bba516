#include "host/info_api.h"

#include <cstddef>
#include <map>

#include "host/api_error.h"
#include "host/bus_text.h"
#include "plugin/info_collection/info_collection_service.h"

namespace ZYNE::Host {
namespace {

using CollaborationFwk::DeviceDynamicInfo;
using CollaborationFwk::InfoCollectionService;
using Record = InfoAnswer::Record;

constexpr const char* CALLER = "device_api";  // sent with each request

// In the order of `names`: the library answers in the order of a hash table.
std::vector<Record> InOrder(const std::vector<DeviceDynamicInfo>& answered, const std::vector<std::string>& names) {
    std::map<std::string, std::string> values;
    for (const DeviceDynamicInfo& info : answered) {
        values[info.GetKey()] = info.GetValue();
    }
    std::vector<Record> records;
    records.reserve(names.size());
    for (const std::string& name : names) {
        records.emplace_back(name, BusText(values[name]));
    }
    return records;
}

size_t Bytes(const std::vector<Record>& records) {
    constexpr size_t BESIDES_TEXT = 32;  // lengths, ends and padding of one record
    size_t bytes = 0;
    for (const Record& record : records) {
        bytes += std::get<0>(record).size() + std::get<1>(record).size() + BESIDES_TEXT;
    }
    return bytes;
}

}  // namespace

InfoAnswer AskPeer(const KnownPeer& peer, const std::vector<std::string>& names) {
    const sptr<CollaborationFwk::DeviceInfo> device(
        new CollaborationFwk::DeviceInfo(peer.udid, peer.networkId, peer.name, peer.type));
    std::vector<DeviceDynamicInfo> answered;
    const int32_t code =
        InfoCollectionService::GetInstance().GetRemoteDeviceDynamicInfo(*device, CALLER, names, answered);
    InfoAnswer answer{code, code == 0 ? InOrder(answered, names) : std::vector<Record>()};
    if (Bytes(answer.records) > MAX_REPLY_BYTES) {
        throw ApiError("TooLarge", "the answer of \"" + peer.name + "\" is too large for the bus");
    }
    return answer;
}

}  // namespace ZYNE::Host
