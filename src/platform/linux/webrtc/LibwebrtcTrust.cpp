#include <openssl/ssl.h>

// Whom the engine believes when it calls a TURN server with TLS ("turns:"). The library comes with the
// authorities of the day on which it was made, and asks only those: certificates of an authority that is
// younger, or the owner's own, it refuses. This takes the place of its function: it believes whom the other
// connections of the program believe, the system's authorities (or those that SSL_CERT_FILE and SSL_CERT_DIR
// name). The checks of the certificates and of the server's name stay the library's.

namespace tevanto {

/// rtc::openssl::LoadBuiltinSSLRootCertificates, by the linker's option --wrap.
extern "C" bool loadSystemAuthorities(SSL_CTX* context) __asm__(
    "__wrap__ZN3rtc7openssl30LoadBuiltinSSLRootCertificatesEP10ssl_ctx_st");
extern "C" bool loadSystemAuthorities(SSL_CTX* context) {
  return SSL_CTX_set_default_verify_paths(context) == 1;
}

}  // namespace tevanto
