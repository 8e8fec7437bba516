#include "linux/fabric/device_id.h"

#include <algorithm>
#include <array>
#include <vector>

#include <openssl/evp.h>

#include "linux/account/certificate.h"
#include "linux/account/udid.h"

namespace ZYNE::Linux {
namespace {

constexpr size_t NETWORK_ID_DIGITS = 32;
constexpr size_t PROOF_BYTES = 6;
constexpr std::string_view HEXADECIMAL = "0123456789abcdef";

using Proof = std::array<unsigned char, PROOF_BYTES>;

// A one bit, then the first 47 bits of the digest of the certificate's subject.
Proof ProofOf(const std::string& udid) {
    const std::vector<unsigned char> subject = DeviceSubject(udid);
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    Must(EVP_Digest(subject.data(), subject.size(), digest.data(), nullptr, EVP_sha256(), nullptr), "no digest");
    Proof proof{};
    unsigned carried = 1;
    for (size_t i = 0; i < proof.size(); ++i) {
        proof[i] = static_cast<unsigned char>((carried << 7U) | (digest[i] >> 1U));
        carried = digest[i] & 1U;
    }
    return proof;
}

}  // namespace

std::string NewNetworkId() {
    return NewUdid().substr(0, NETWORK_ID_DIGITS);
}

bool IsNetworkId(std::string_view text) {
    return text.size() == NETWORK_ID_DIGITS && text.find_first_not_of(HEXADECIMAL) == std::string_view::npos;
}

bool IsParticipantOf(const std::string& udid, const dds_guid_t& participant) {
    return std::ranges::equal(ProofOf(udid),
        std::array<unsigned char, PROOF_BYTES>{participant.v[0], participant.v[1], participant.v[2], participant.v[3],
            participant.v[4], participant.v[5]});
}

}  // namespace ZYNE::Linux
