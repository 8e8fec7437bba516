// Owners of libcrypto's objects, and its errors as exceptions.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>

#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/evp.h>
#include <openssl/pkcs7.h>
#include <openssl/x509.h>

namespace ZYNE::Linux {

template <auto free>
struct OpensslFree {
    template <typename T>
    void operator()(T* object) const {
        free(object);
    }
};

template <typename T, auto free>
using OpensslHandle = std::unique_ptr<T, OpensslFree<free>>;

using BioHandle = OpensslHandle<BIO, BIO_free_all>;
using BignumHandle = OpensslHandle<BIGNUM, BN_free>;
using CertificateHandle = OpensslHandle<X509, X509_free>;
using KeyHandle = OpensslHandle<EVP_PKEY, EVP_PKEY_free>;
using NameHandle = OpensslHandle<X509_NAME, X509_NAME_free>;
using Pkcs7Handle = OpensslHandle<PKCS7, PKCS7_free>;
using StoreHandle = OpensslHandle<X509_STORE, X509_STORE_free>;
using StoreContextHandle = OpensslHandle<X509_STORE_CTX, X509_STORE_CTX_free>;

// Throws std::runtime_error: `problem`, and what libcrypto says about it.
[[noreturn]] void FailWithOpensslError(const std::string& problem);

// Throws when `result` is not a success of libcrypto.
void Must(int result, const char* problem);

// Takes over what libcrypto made. Throws when it made nothing.
template <typename Handle>
Handle MustHave(typename Handle::pointer made, const char* problem) {
    if (made == nullptr) {
        FailWithOpensslError(problem);
    }
    return Handle(made);
}

// What has been written into a memory BIO.
std::string TextOf(BIO* memory);

// A BIO that reads `text`, which must outlive it.
BioHandle ReaderOf(const std::string& text);

}  // namespace ZYNE::Linux
