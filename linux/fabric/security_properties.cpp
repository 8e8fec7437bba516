#include "linux/fabric/security_properties.h"

#include <string>

namespace ZYNE::Linux {
namespace {

void SetPlugin(dds_qos_t* qos, const std::string& kind, const char* library, const std::string& function) {
    const std::string prefix = "dds.sec." + kind + ".library.";
    dds_qset_prop(qos, (prefix + "path").c_str(), library);
    dds_qset_prop(qos, (prefix + "init").c_str(), ("init_" + function).c_str());
    dds_qset_prop(qos, (prefix + "finalize").c_str(), ("finalize_" + function).c_str());
}

}  // namespace

void SetSecurityProperties(dds_qos_t* participant, const Credentials& credentials) {
    SetPlugin(participant, "auth", "dds_security_auth", "authentication");
    SetPlugin(participant, "access", "dds_security_ac", "access_control");
    SetPlugin(participant, "crypto", "dds_security_crypto", "crypto");
    const auto setFile = [&](const char* property, const char* name) {
        dds_qset_prop(participant, property, ("file:" + (credentials.directory / name).string()).c_str());
    };
    setFile("dds.sec.auth.identity_ca", CredentialFiles::AUTHORITY);
    setFile("dds.sec.auth.identity_certificate", CredentialFiles::CERTIFICATE);
    setFile("dds.sec.auth.private_key", CredentialFiles::KEY);
    setFile("dds.sec.access.permissions_ca", CredentialFiles::AUTHORITY);
    setFile("dds.sec.access.governance", CredentialFiles::GOVERNANCE);
    setFile("dds.sec.access.permissions", CredentialFiles::PERMISSIONS);
}

}  // namespace ZYNE::Linux
