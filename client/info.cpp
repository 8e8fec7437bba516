#include "client/info.h"

#include "client/device_connection.h"

namespace ZYNE::Client {

std::vector<Peer> Info::ListPeers() {
    return AsValues<Peer>(connection_.Call(&DeviceProxy::ListDevices));
}

PeerName Info::FindPeer(const std::string& peer) {
    const auto [name, id] = connection_.Call(&DeviceProxy::FindPeer, peer);
    return {name, id};
}

InfoAnswer Info::Get(const std::string& peer, const std::vector<std::string>& names) {
    const auto [code, records] = connection_.Call(&DeviceProxy::GetInfo, peer, names);
    return {code, AsValues<std::pair<std::string, std::string>>(records)};
}

}  // namespace ZYNE::Client
