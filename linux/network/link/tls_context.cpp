#include "linux/network/link/tls_context.h"

#include <openssl/ssl.h>

#include "linux/account/certificate.h"

namespace ZYNE::Linux {
namespace {

constexpr int OPEN_MODE_DAYS = 3650;

// The chain is checked against the account's authority alone, which signs devices itself.
constexpr int MAX_CHAIN = 1;

void TrustAuthority(SSL_CTX& context, const std::string& pem) {
    const CertificateHandle authority = CertificateFromPem(pem);
    Must(X509_STORE_add_cert(SSL_CTX_get_cert_store(&context), authority.get()), "the authority cannot be trusted");
    SSL_CTX_set_verify_depth(&context, MAX_CHAIN);
    SSL_CTX_set_verify(&context, SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT, nullptr);
}

int TakeAnyCertificate(X509_STORE_CTX* /*chain*/, void* /*context*/) {
    return 1;
}

}  // namespace

void TlsContext::SslDeleter::operator()(ssl_st* ssl) const {
    SSL_free(ssl);
}

void TlsContext::ContextDeleter::operator()(ssl_ctx_st* context) const {
    SSL_CTX_free(context);
}

TlsContext::TlsContext(const Identity& identity) : context_(SSL_CTX_new(TLS_method())) {
    SSL_CTX* const context = context_.get();
    if (context == nullptr) {
        FailWithOpensslError("no TLS");
    }
    Must(SSL_CTX_set_min_proto_version(context, TLS1_3_VERSION), "no TLS 1.3");
    Must(SSL_CTX_set_ciphersuites(context, "TLS_AES_128_GCM_SHA256:TLS_CHACHA20_POLY1305_SHA256"), "no ciphers");
    SSL_CTX_set_num_tickets(context, 0);
    SSL_CTX_set_session_cache_mode(context, SSL_SESS_CACHE_OFF);
    SSL_CTX_set_mode(context, SSL_MODE_RELEASE_BUFFERS);
    const CertificateHandle certificate = CertificateFromPem(identity.certificate);
    const KeyHandle key = KeyFromPem(identity.key);
    Must(SSL_CTX_use_certificate(context, certificate.get()), "not a device's certificate");
    Must(SSL_CTX_use_PrivateKey(context, key.get()), "not the certificate's key");
    if (identity.authority.empty()) {
        SSL_CTX_set_verify(context, SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT, nullptr);
        SSL_CTX_set_cert_verify_callback(context, &TakeAnyCertificate, nullptr);
    } else {
        TrustAuthority(*context, identity.authority);
    }
}

TlsContext::Identity TlsContext::SelfSigned(const std::string& udid) {
    const KeyHandle key = NewKey();
    return {ToPem(*NewAuthority(udid, *key, ValidForDays(OPEN_MODE_DAYS))), ToPem(*key), ""};
}

TlsContext::Ssl TlsContext::NewConnection(bool isOpener) const {
    Ssl ssl(SSL_new(context_.get()));
    if (!ssl) {
        FailWithOpensslError("no TLS connection");
    }
    if (isOpener) {
        SSL_set_connect_state(ssl.get());
    } else {
        SSL_set_accept_state(ssl.get());
    }
    return ssl;
}

}  // namespace ZYNE::Linux
