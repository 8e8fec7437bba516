// What a device's TLS connections have in common: its certificate and key, and whom it believes.
#pragma once

#include <cstdint>
#include <ctime>
#include <functional>
#include <memory>
#include <string>

#include "linux/account/openssl.h"

struct ssl_ctx_st;
struct ssl_st;

namespace ZYNE::Linux {

// TLS 1.3 alone, both sides with a certificate, no session tickets, no early data. Immutable; any thread.
class TlsContext {
public:
    struct Identity {
        std::string certificate;  // PEM, as is the rest
        std::string key;
        std::string authority;  // empty: open mode, where every certificate is taken for what it says
    };

    // Throws std::runtime_error with one line.
    explicit TlsContext(const Identity& identity);

    // The identity of a device in open mode: a key of this run, and a certificate that it signs itself.
    static Identity SelfSigned(const std::string& udid);

    struct SslDeleter {
        void operator()(ssl_st* ssl) const;
    };
    using Ssl = std::unique_ptr<ssl_st, SslDeleter>;
    Ssl NewConnection(bool isOpener) const;

private:
    struct ContextDeleter {
        void operator()(ssl_ctx_st* context) const;
    };
    std::unique_ptr<ssl_ctx_st, ContextDeleter> context_;
};

}  // namespace ZYNE::Linux
