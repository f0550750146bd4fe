#include "tests/support/certificate.h"

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <QtGlobal>

namespace test_support {

namespace {

void addExtension(X509* certificate, int kind, const QByteArray& value)
{
    X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, nullptr, kind, value.constData());
    Q_CHECK_PTR(extension);
    X509_add_ext(certificate, extension, -1);
    X509_EXTENSION_free(extension);
}

/// Issuers are looked up by name, so two certificates of one name would be taken for each other.
QByteArray uniqueName()
{
    QByteArray random(8, '\0');
    RAND_bytes(reinterpret_cast<unsigned char*>(random.data()), static_cast<int>(random.size()));
    return "test " + random.toHex();
}

} // namespace

Certificate::Certificate(const QList<QByteArray>& names)
    : m_key(EVP_EC_gen("P-256"), EVP_PKEY_free)
    , m_certificate(X509_new(), X509_free)
{
    constexpr long hour = 3600;
    X509* made = m_certificate.get();
    X509_set_version(made, X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(made), 1);
    X509_gmtime_adj(X509_getm_notBefore(made), -hour);
    X509_gmtime_adj(X509_getm_notAfter(made), hour);
    X509_set_pubkey(made, m_key.get());
    const QByteArray name = uniqueName();
    X509_NAME_add_entry_by_txt(X509_get_subject_name(made), "CN", MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>(name.constData()), -1, -1, 0);
    X509_set_issuer_name(made, X509_get_subject_name(made));
    addExtension(made, NID_basic_constraints, "critical,CA:TRUE");
    addExtension(made, NID_subject_alt_name, names.join(','));
    X509_sign(made, m_key.get(), EVP_sha256());
}

QByteArray Certificate::pem() const
{
    const std::unique_ptr<BIO, decltype(&BIO_free)> memory(BIO_new(BIO_s_mem()), BIO_free);
    PEM_write_bio_X509(memory.get(), m_certificate.get());
    char* text = nullptr;
    const long size = BIO_get_mem_data(memory.get(), &text);
    return {text, size};
}

} // namespace test_support
