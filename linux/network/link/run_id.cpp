#include "linux/network/link/run_id.h"

#include <array>

#include <openssl/evp.h>
#include <openssl/rand.h>

#include "linux/account/openssl.h"
#include "linux/base/hex.h"

namespace ZYNE::Linux {
namespace {

constexpr size_t NETWORK_ID_DIGITS = 32;
constexpr std::string_view HEXADECIMAL = "0123456789abcdef";
constexpr std::string_view PURPOSE = "collaborationfwk run";

}  // namespace

std::string NewRun() {
    std::string run(RUN_BYTES, '\0');
    Must(RAND_bytes(reinterpret_cast<unsigned char*>(run.data()), RUN_BYTES), "no random numbers");
    return run;
}

std::string NetworkIdOf(std::string_view udid, std::string_view run) {
    const std::string text = std::string(PURPOSE).append(udid).append(run);
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    Must(EVP_Digest(text.data(), text.size(), digest.data(), nullptr, EVP_sha256(), nullptr), "no digest");
    return HexOf({reinterpret_cast<const char*>(digest.data()), NETWORK_ID_DIGITS / 2});
}

bool IsNetworkId(std::string_view text) {
    return text.size() == NETWORK_ID_DIGITS && text.find_first_not_of(HEXADECIMAL) == std::string_view::npos;
}

}  // namespace ZYNE::Linux
