#pragma once

#include <openssl/types.h>

#include <QByteArray>
#include <QList>

#include <memory>

namespace test_support {

/// A key and a self-signed certificate for it, made on the spot and valid for an hour. Trust is the caller's:
/// write pem() into the file that SSL_CERT_FILE names before the first TLS connection of the process.
class Certificate
{
public:
    /// names as in the subjectAltName extension, such as "IP:127.0.0.1" or "DNS:localhost".
    explicit Certificate(const QList<QByteArray>& names = {"IP:127.0.0.1", "DNS:localhost"});

    [[nodiscard]] QByteArray pem() const; ///< the certificate alone, without its key
    [[nodiscard]] X509* certificate() const { return m_certificate.get(); }
    [[nodiscard]] EVP_PKEY* key() const { return m_key.get(); }

private:
    std::shared_ptr<EVP_PKEY> m_key;
    std::shared_ptr<X509> m_certificate;
};

} // namespace test_support
