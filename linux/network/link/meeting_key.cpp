#include "linux/network/link/meeting_key.h"

#include <stdexcept>

#include <openssl/core_names.h>
#include <openssl/crypto.h>
#include <openssl/hmac.h>
#include <openssl/kdf.h>
#include <openssl/params.h>
#include <openssl/rand.h>

#include "linux/account/openssl.h"

namespace ZYNE::Linux {
namespace {

using CipherHandle = OpensslHandle<EVP_CIPHER_CTX, EVP_CIPHER_CTX_free>;
using KdfHandle = OpensslHandle<EVP_KDF, EVP_KDF_free>;
using KdfContextHandle = OpensslHandle<EVP_KDF_CTX, EVP_KDF_CTX_free>;

constexpr size_t NONCE_BYTES = 12;
constexpr size_t TAG_BYTES = MeetingKey::SEAL_BYTES - NONCE_BYTES;
constexpr const char* PROBLEM = "the meeting key cannot be used";

const unsigned char* Bytes(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

unsigned char* Bytes(std::string& text) {
    return reinterpret_cast<unsigned char*>(text.data());
}

OSSL_PARAM Parameter(const char* name, std::string_view value) {
    return OSSL_PARAM_construct_octet_string(name, const_cast<char*>(value.data()), value.size());
}

// HKDF with SHA-256. A salt or info that is empty is none.
std::array<unsigned char, 32> Derive(std::string_view secret, std::string_view salt, std::string_view info) {
    const auto kdf = MustHave<KdfHandle>(EVP_KDF_fetch(nullptr, OSSL_KDF_NAME_HKDF, nullptr), PROBLEM);
    const auto context = MustHave<KdfContextHandle>(EVP_KDF_CTX_new(kdf.get()), PROBLEM);
    char digest[] = "SHA256";
    const std::array<OSSL_PARAM, 5> parameters{OSSL_PARAM_construct_utf8_string(OSSL_KDF_PARAM_DIGEST, digest, 0),
        Parameter(OSSL_KDF_PARAM_KEY, secret), Parameter(OSSL_KDF_PARAM_SALT, salt),
        Parameter(OSSL_KDF_PARAM_INFO, info), OSSL_PARAM_construct_end()};
    std::array<unsigned char, 32> key{};
    Must(EVP_KDF_derive(context.get(), key.data(), key.size(), parameters.data()), PROBLEM);
    return key;
}

}  // namespace

MeetingKey::MeetingKey(std::string_view secret) {
    if (secret.size() != BYTES) {
        throw std::runtime_error(
            "the meeting key has " + std::to_string(secret.size()) + " bytes instead of " + std::to_string(BYTES));
    }
    sealing_ = Derive(secret, "", "collaborationfwk sealing");
    proving_ = Derive(secret, "", "collaborationfwk proof");
}

MeetingKey MeetingKey::OfName(const std::string& accountName) {
    // An empty secret is none to libcrypto, so the name goes with a word in front.
    const auto secret = Derive("account " + accountName, "collaborationfwk open account", "");
    return MeetingKey(std::string_view(reinterpret_cast<const char*>(secret.data()), secret.size()));
}

std::string MeetingKey::Seal(std::string_view text) const {
    std::string sealed(SEAL_BYTES + text.size(), '\0');
    unsigned char* nonce = Bytes(sealed);
    unsigned char* body = nonce + NONCE_BYTES;
    unsigned char* tag = body + text.size();
    Must(RAND_bytes(nonce, NONCE_BYTES), PROBLEM);
    const auto context = MustHave<CipherHandle>(EVP_CIPHER_CTX_new(), PROBLEM);
    int size = 0;
    Must(EVP_EncryptInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, sealing_.data(), nonce), PROBLEM);
    Must(EVP_EncryptUpdate(context.get(), body, &size, Bytes(text), static_cast<int>(text.size())), PROBLEM);
    Must(EVP_EncryptFinal_ex(context.get(), tag, &size), PROBLEM);
    Must(EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_GET_TAG, TAG_BYTES, tag), PROBLEM);
    return sealed;
}

std::optional<std::string> MeetingKey::Open(std::string_view sealed) const {
    if (sealed.size() < SEAL_BYTES) {
        return std::nullopt;
    }
    std::string text(sealed.size() - SEAL_BYTES, '\0');
    std::string tag(sealed.substr(sealed.size() - TAG_BYTES));
    const unsigned char* nonce = Bytes(sealed);
    const auto context = MustHave<CipherHandle>(EVP_CIPHER_CTX_new(), PROBLEM);
    int size = 0;
    Must(EVP_DecryptInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, sealing_.data(), nonce), PROBLEM);
    Must(EVP_DecryptUpdate(context.get(), Bytes(text), &size, nonce + NONCE_BYTES, static_cast<int>(text.size())),
        PROBLEM);
    Must(EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_SET_TAG, TAG_BYTES, tag.data()), PROBLEM);
    if (EVP_DecryptFinal_ex(context.get(), Bytes(tag), &size) <= 0) {
        return std::nullopt;
    }
    return text;
}

std::string MeetingKey::Prove(std::string_view challenge, std::string_view text) const {
    // With the challenge's length in front, no other pair makes the same bytes.
    std::string proved = std::to_string(challenge.size()) + ":";
    proved.append(challenge).append(text);
    std::string proof(PROOF_BYTES, '\0');
    unsigned int size = 0;
    if (HMAC(EVP_sha256(), proving_.data(), static_cast<int>(proving_.size()), Bytes(proved), proved.size(),
            Bytes(proof), &size) == nullptr) {
        FailWithOpensslError(PROBLEM);
    }
    return proof;
}

bool MeetingKey::IsProof(std::string_view proof, std::string_view challenge, std::string_view text) const {
    const std::string expected = Prove(challenge, text);
    return proof.size() == expected.size() && CRYPTO_memcmp(proof.data(), expected.data(), expected.size()) == 0;
}

}  // namespace ZYNE::Linux
