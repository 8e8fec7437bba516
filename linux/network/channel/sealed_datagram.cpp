#include "linux/network/channel/sealed_datagram.h"

#include <array>

#include "linux/account/openssl.h"
#include "linux/network/channel/channel_message.h"

namespace ZYNE::Linux {
namespace {

using namespace SealedDatagram;

constexpr size_t NONCE_BYTES = 12;

const unsigned char* Bytes(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

unsigned char* Bytes(std::string& text) {
    return reinterpret_cast<unsigned char*>(text.data());
}

CipherContext MakeContext(const DatagramKey& key, bool seals) {
    CipherContext context(EVP_CIPHER_CTX_new());
    Must(context ? EVP_CipherInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, key.data(), nullptr, seals ? 1 : 0) : 0,
        "no cipher");
    return context;
}

// Starts the datagram `number` of the channel. Whether libcrypto is able to.
bool Begin(evp_cipher_ctx_st* context, uint64_t number, uint32_t channel) {
    std::array<unsigned char, NONCE_BYTES> nonce{};
    for (size_t i = 0; i < NUMBER_BYTES; ++i) {
        nonce.at(NONCE_BYTES - 1 - i) = static_cast<unsigned char>(number >> (8 * i));
    }
    const std::array<unsigned char, 4> name{static_cast<unsigned char>(channel >> 24U),
        static_cast<unsigned char>(channel >> 16U), static_cast<unsigned char>(channel >> 8U),
        static_cast<unsigned char>(channel)};
    int count = 0;
    return EVP_CipherInit_ex(context, nullptr, nullptr, nullptr, nonce.data(), -1) == 1 &&
        EVP_CipherUpdate(context, nullptr, &count, name.data(), name.size()) == 1;
}

}  // namespace

DatagramSealer::DatagramSealer(const DatagramKey& key, uint32_t channel)
    : context_(MakeContext(key, true)), channel_(channel) {
    datagram_.reserve(MAX_SEALED_BYTES);
}

std::string_view DatagramSealer::Seal(uint64_t number, std::string_view bytes) {
    datagram_.clear();
    AppendNumber(datagram_, number);
    datagram_.resize(NUMBER_BYTES + bytes.size() + TAG_BYTES);
    unsigned char* const sealed = Bytes(datagram_) + NUMBER_BYTES;
    int count = 0;
    const bool isSealed = Begin(context_.get(), number, channel_) &&
        (bytes.empty() ||
            EVP_CipherUpdate(context_.get(), sealed, &count, Bytes(bytes), static_cast<int>(bytes.size())) == 1) &&
        EVP_CipherFinal_ex(context_.get(), sealed + count, &count) == 1 &&
        EVP_CIPHER_CTX_ctrl(context_.get(), EVP_CTRL_AEAD_GET_TAG, TAG_BYTES, sealed + bytes.size()) == 1;
    Must(isSealed ? 1 : 0, "a datagram is not sealed");
    return datagram_;
}

DatagramOpener::DatagramOpener(const DatagramKey& key, uint32_t channel)
    : context_(MakeContext(key, false)), channel_(channel) {
    bytes_.reserve(MAX_BYTES);
}

std::optional<DatagramOpener::Opened> DatagramOpener::Open(std::string_view datagram) {
    if (datagram.size() < NUMBER_BYTES + TAG_BYTES || datagram.size() > MAX_SEALED_BYTES) {
        return std::nullopt;
    }
    const uint64_t number = LeadingNumber(datagram);
    if (number <= last_) {
        return std::nullopt;
    }
    const std::string_view sealed = datagram.substr(NUMBER_BYTES, datagram.size() - NUMBER_BYTES - TAG_BYTES);
    std::array<unsigned char, TAG_BYTES> tag{};
    datagram.substr(datagram.size() - TAG_BYTES).copy(reinterpret_cast<char*>(tag.data()), TAG_BYTES);
    bytes_.resize(sealed.size());
    int count = 0;
    std::array<unsigned char, TAG_BYTES> rest{};
    const bool isGenuine = Begin(context_.get(), number, channel_) &&
        (sealed.empty() ||
            EVP_CipherUpdate(context_.get(), Bytes(bytes_), &count, Bytes(sealed), static_cast<int>(sealed.size())) ==
                1) &&
        EVP_CIPHER_CTX_ctrl(context_.get(), EVP_CTRL_AEAD_SET_TAG, TAG_BYTES, tag.data()) == 1 &&
        EVP_CipherFinal_ex(context_.get(), rest.data(), &count) == 1;
    if (!isGenuine) {
        return std::nullopt;
    }
    last_ = number;
    return Opened{number, bytes_};
}

}  // namespace ZYNE::Linux
