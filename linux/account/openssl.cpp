#include "linux/account/openssl.h"

#include <openssl/err.h>

namespace ZYNE::Linux {

void FailWithOpensslError(const std::string& problem) {
    const char* reason = ERR_reason_error_string(ERR_peek_last_error());
    ERR_clear_error();
    throw std::runtime_error(reason == nullptr ? problem : problem + ": " + reason);
}

void Must(int result, const char* problem) {
    if (result <= 0) {
        FailWithOpensslError(problem);
    }
}

std::string TextOf(BIO* memory) {
    char* bytes = nullptr;
    const long size = BIO_get_mem_data(memory, &bytes);
    return size > 0 ? std::string(bytes, static_cast<size_t>(size)) : std::string();
}

BioHandle ReaderOf(const std::string& text) {
    return MustHave<BioHandle>(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())), "no memory");
}

}  // namespace ZYNE::Linux
