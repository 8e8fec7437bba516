#include "linux/network/fabric_identity.h"

#include <stdexcept>

#include "linux/account/udid.h"
#include "linux/network/link/run_id.h"
#include "linux/network/presence/fabric_log.h"

namespace ZYNE::Linux {
namespace {

std::optional<Credentials> CredentialsOf(const FabricOptions& options) {
    if (options.trust == FabricOptions::Trust::ACCOUNT) {
        return LoadCredentials(options.credentials);
    }
    if (!IsUdid(options.udid) || options.accountName.empty()) {
        throw std::runtime_error("open mode needs a udid and the name of an account");
    }
    FabricPrint(LogLevel::WARN, "open mode: peers prove nothing, and whoever knows the account's name can be a peer");
    return std::nullopt;
}

LinkIdentity LinkIdentityOf(const FabricOptions& options, const std::optional<Credentials>& credentials) {
    const std::string& udid = credentials ? credentials->udid : options.udid;
    std::string run = NewRun();
    std::string networkId = NetworkIdOf(udid, run);
    auto tls = std::make_shared<const TlsContext>(credentials
            ? TlsContext::Identity{credentials->certificate, credentials->key, credentials->authority}
            : TlsContext::SelfSigned(udid));
    return {udid, std::move(run), std::move(networkId), std::move(tls),
        credentials ? MeetingKey(credentials->meetingKey) : MeetingKey::OfName(options.accountName)};
}

}  // namespace

FabricIdentity::FabricIdentity(const FabricOptions& options)
    : credentials(CredentialsOf(options)), link(LinkIdentityOf(options, credentials)) {}

}  // namespace ZYNE::Linux
