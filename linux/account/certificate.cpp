#include "linux/account/certificate.h"

#include <array>

#include <openssl/asn1.h>
#include <openssl/pem.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

namespace ZYNE::Linux {
namespace {

constexpr std::time_t DAY = 86400;
constexpr int SERIAL_BITS = 127;
constexpr const char* NO_MEMORY = "no memory";

struct Extension {
    int kind;
    const char* value;
};

constexpr std::array AUTHORITY_EXTENSIONS{Extension{NID_basic_constraints, "critical,CA:TRUE,pathlen:0"},
    Extension{NID_key_usage, "critical,digitalSignature,keyCertSign,cRLSign"}};

// The extended usage leaves out the protection of documents: what a device signs is nobody's list.
constexpr std::array DEVICE_EXTENSIONS{Extension{NID_basic_constraints, "critical,CA:FALSE"},
    Extension{NID_key_usage, "critical,digitalSignature"}, Extension{NID_ext_key_usage, "serverAuth,clientAuth"}};

NameHandle NameOf(const std::string& commonName) {
    NameHandle name = MustHave<NameHandle>(X509_NAME_new(), NO_MEMORY);
    Must(X509_NAME_add_entry_by_NID(name.get(), NID_commonName, MBSTRING_UTF8,
             reinterpret_cast<const unsigned char*>(commonName.data()), static_cast<int>(commonName.size()), -1, 0),
        "not a name for a certificate");
    return name;
}

void SetRandomSerial(X509& certificate) {
    const BignumHandle number = MustHave<BignumHandle>(BN_new(), NO_MEMORY);
    Must(BN_rand(number.get(), SERIAL_BITS, BN_RAND_TOP_ONE, BN_RAND_BOTTOM_ANY), "no random numbers");
    if (BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(&certificate)) == nullptr) {
        FailWithOpensslError(NO_MEMORY);
    }
}

// What certificates of authorities and devices have in common. The issuer is still missing.
CertificateHandle NewCertificate(const std::string& commonName, EVP_PKEY& key, const Validity& validity) {
    CertificateHandle certificate = MustHave<CertificateHandle>(X509_new(), NO_MEMORY);
    Must(X509_set_version(certificate.get(), X509_VERSION_3), "the certificate cannot be made");
    SetRandomSerial(*certificate);
    Must(X509_set_subject_name(certificate.get(), NameOf(commonName).get()), "the certificate cannot be named");
    Must(X509_set_pubkey(certificate.get(), &key), "the key cannot be certified");
    if (ASN1_TIME_set(X509_getm_notBefore(certificate.get()), validity.notBefore) == nullptr ||
        ASN1_TIME_set(X509_getm_notAfter(certificate.get()), validity.notAfter) == nullptr) {
        FailWithOpensslError("not a time for a certificate");
    }
    return certificate;
}

template <typename Extensions>
void AddExtensions(X509& certificate, X509& issuer, const Extensions& extensions) {
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, &issuer, &certificate, nullptr, nullptr, 0);
    for (const Extension& extension : extensions) {
        const auto made = MustHave<OpensslHandle<X509_EXTENSION, X509_EXTENSION_free>>(
            X509V3_EXT_conf_nid(nullptr, &context, extension.kind, extension.value), "not a certificate extension");
        Must(X509_add_ext(&certificate, made.get(), -1), NO_MEMORY);
    }
}

}  // namespace

Validity ValidForDays(int days) {
    const std::time_t now = std::time(nullptr);
    return {now - DAY, now + days * DAY};
}

KeyHandle NewKey() {
    return MustHave<KeyHandle>(EVP_EC_gen("P-256"), "the key cannot be made");
}

CertificateHandle NewAuthority(const std::string& accountName, EVP_PKEY& key, const Validity& validity) {
    CertificateHandle authority = NewCertificate(accountName, key, validity);
    Must(X509_set_issuer_name(authority.get(), X509_get_subject_name(authority.get())), NO_MEMORY);
    AddExtensions(*authority, *authority, AUTHORITY_EXTENSIONS);
    Must(X509_sign(authority.get(), &key, EVP_sha256()), "the certificate cannot be signed");
    return authority;
}

CertificateHandle NewDeviceCertificate(
    const std::string& udid, EVP_PKEY& deviceKey, X509& authority, EVP_PKEY& authorityKey, const Validity& validity) {
    CertificateHandle certificate = NewCertificate(udid, deviceKey, validity);
    Must(X509_set_issuer_name(certificate.get(), X509_get_subject_name(&authority)), NO_MEMORY);
    AddExtensions(*certificate, authority, DEVICE_EXTENSIONS);
    Must(X509_sign(certificate.get(), &authorityKey, EVP_sha256()), "the certificate cannot be signed");
    return certificate;
}

void CheckIssuedBy(X509& authority, X509& certificate, Expired expired) {
    const StoreHandle store = MustHave<StoreHandle>(X509_STORE_new(), NO_MEMORY);
    Must(X509_STORE_add_cert(store.get(), &authority), NO_MEMORY);
    const StoreContextHandle context = MustHave<StoreContextHandle>(X509_STORE_CTX_new(), NO_MEMORY);
    Must(X509_STORE_CTX_init(context.get(), store.get(), &certificate, nullptr), NO_MEMORY);
    if (expired == Expired::TAKEN) {
        X509_STORE_CTX_set_flags(context.get(), X509_V_FLAG_NO_CHECK_TIME);
    }
    if (X509_verify_cert(context.get()) != 1) {
        throw std::runtime_error(X509_verify_cert_error_string(X509_STORE_CTX_get_error(context.get())));
    }
}

std::string CommonName(X509& certificate) {
    X509_NAME* subject = X509_get_subject_name(&certificate);
    const int index = X509_NAME_get_index_by_NID(subject, NID_commonName, -1);
    if (index < 0) {
        return "";
    }
    unsigned char* text = nullptr;
    const int size = ASN1_STRING_to_UTF8(&text, X509_NAME_ENTRY_get_data(X509_NAME_get_entry(subject, index)));
    if (size < 0) {
        return "";
    }
    std::string name(reinterpret_cast<const char*>(text), static_cast<size_t>(size));
    OPENSSL_free(text);
    return name;
}

std::time_t EndOfValidity(X509& certificate) {
    std::tm end{};
    Must(ASN1_TIME_to_tm(X509_get0_notAfter(&certificate), &end), "the certificate has no end of validity");
    return timegm(&end);
}

std::string ToPem(X509& certificate) {
    const BioHandle memory = MustHave<BioHandle>(BIO_new(BIO_s_mem()), NO_MEMORY);
    Must(PEM_write_bio_X509(memory.get(), &certificate), "the certificate cannot be written");
    return TextOf(memory.get());
}

std::string ToPem(EVP_PKEY& key) {
    const BioHandle memory = MustHave<BioHandle>(BIO_new(BIO_s_mem()), NO_MEMORY);
    Must(PEM_write_bio_PrivateKey(memory.get(), &key, nullptr, nullptr, 0, nullptr, nullptr),
        "the key cannot be written");
    return TextOf(memory.get());
}

CertificateHandle CertificateFromPem(const std::string& pem) {
    return MustHave<CertificateHandle>(
        PEM_read_bio_X509(ReaderOf(pem).get(), nullptr, nullptr, nullptr), "not a certificate");
}

KeyHandle KeyFromPem(const std::string& pem) {
    // An empty pass phrase, so that nobody is asked for one on the terminal.
    char noPassPhrase[] = "";
    return MustHave<KeyHandle>(
        PEM_read_bio_PrivateKey(ReaderOf(pem).get(), nullptr, nullptr, noPassPhrase), "not a private key");
}

}  // namespace ZYNE::Linux
