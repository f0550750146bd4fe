#pragma once

#include <openssl/types.h>

namespace network {

/// Has the context check certificates against the system's trusted ones. They are read once in the life of
/// the process, at the first call; a change to them takes effect when the process is started anew. False when
/// OpenSSL cannot make a store at all; a missing bundle is no failure here, it leaves every peer untrusted.
bool useTrustStore(SSL_CTX* context);

} // namespace network
