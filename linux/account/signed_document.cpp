#include "linux/account/signed_document.h"

namespace ZYNE::Linux {

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
    const StoreHandle store = MustHave<StoreHandle>(X509_STORE_new(), "no memory");
    Must(X509_STORE_add_cert(store.get(), &authority), "no memory");
    const BioHandle text = MustHave<BioHandle>(BIO_new(BIO_s_mem()), "no memory");
    Must(PKCS7_verify(signature.get(), nullptr, store.get(), content.get(), text.get(), PKCS7_TEXT),
        "not signed by this account");
    return TextOf(text.get());
}

}  // namespace ZYNE::Linux
