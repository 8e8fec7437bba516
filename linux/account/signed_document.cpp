#include "linux/account/signed_document.h"

#include <stdexcept>

#include <openssl/err.h>

namespace ZYNE::Linux {
namespace {

// The certificates in it stay.
void FreeStack(STACK_OF(X509) * stack) {
    sk_X509_free(stack);
}

}  // namespace

std::string SignDocument(const std::string& text, X509& authority, EVP_PKEY& authorityKey) {
    const int flags = PKCS7_TEXT | PKCS7_DETACHED;
    const BioHandle reader = ReaderOf(text);
    const Pkcs7Handle signature = MustHave<Pkcs7Handle>(
        PKCS7_sign(&authority, &authorityKey, nullptr, reader.get(), flags), "the document cannot be signed");
    const BioHandle again = ReaderOf(text);
    const BioHandle memory = MustHave<BioHandle>(BIO_new(BIO_s_mem()), "no memory");
    Must(SMIME_write_PKCS7(memory.get(), signature.get(), again.get(), flags), "the document cannot be written");
    return TextOf(memory.get());
}

std::string VerifiedText(const std::string& document, X509& authority) {
    const BioHandle reader = ReaderOf(document);
    BIO* detached = nullptr;
    const Pkcs7Handle signature =
        MustHave<Pkcs7Handle>(SMIME_read_PKCS7(reader.get(), &detached), "not a signed document");
    const BioHandle content(detached);
    const auto signers = MustHave<OpensslHandle<STACK_OF(X509), FreeStack>>(sk_X509_new_null(), "no memory");
    Must(sk_X509_push(signers.get(), &authority), "no memory");
    const BioHandle text = MustHave<BioHandle>(BIO_new(BIO_s_mem()), "no memory");
    // Certificates that come with the document do not count, and the authority's own needs no one to vouch for it.
    if (PKCS7_verify(signature.get(), signers.get(), nullptr, content.get(), text.get(),
            PKCS7_TEXT | PKCS7_NOINTERN | PKCS7_NOVERIFY) != 1) {
        ERR_clear_error();
        throw std::runtime_error("not signed by this account");
    }
    return TextOf(text.get());
}

}  // namespace ZYNE::Linux
