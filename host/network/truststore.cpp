#include "host/network/truststore.h"

#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>

namespace network {

namespace {

/// Shared by every context, each of which counts its reference; the process's own is never given back.
X509_STORE* trustStore()
{
    static X509_STORE* const store = [] {
        X509_STORE* made = X509_STORE_new();
        if (made) {
            X509_STORE_set_default_paths(made);
            // As libcurl does for a store of its own: an administrator may trust an intermediate or the
            // service's certificate alone. Without it libcurl would set it, or not, depending on its version.
            X509_STORE_set_flags(made, X509_V_FLAG_PARTIAL_CHAIN);
        }
        return made;
    }();
    return store;
}

} // namespace

bool useTrustStore(SSL_CTX* context)
{
    X509_STORE* store = trustStore();
    if (!store)
        return false;
    SSL_CTX_set1_cert_store(context, store);
    return true;
}

} // namespace network
