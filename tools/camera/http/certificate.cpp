#include "camera/http/certificate.h"

#include <openssl/evp.h>
#include <openssl/rand.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

namespace larkmoor::camera
{

namespace
{

constexpr long kDay = 24 * 60 * 60;
constexpr long kYears = 10 * 365 * kDay;

using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;
using Certificate = std::unique_ptr<X509, decltype(&X509_free)>;
using Extension = std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)>;

bool AddNames(X509* certificate, const std::string& address)
{
    const std::string names = "DNS:localhost,IP:" + address;
    const Extension extension(X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, names.c_str()),
                              X509_EXTENSION_free);
    return extension && X509_add_ext(certificate, extension.get(), -1) == 1;
}

bool FillIn(X509* certificate, EVP_PKEY* key, const std::string& address)
{
    long serial = 0;
    if (RAND_bytes(reinterpret_cast<unsigned char*>(&serial), sizeof serial) != 1)
        return false;
    X509_NAME* const name = X509_get_subject_name(certificate);
    return X509_set_version(certificate, X509_VERSION_3) == 1 &&
           ASN1_INTEGER_set(X509_get_serialNumber(certificate), serial & 0x7FFFFFFF) == 1 &&
           X509_gmtime_adj(X509_getm_notBefore(certificate), -kDay) != nullptr &&
           X509_gmtime_adj(X509_getm_notAfter(certificate), kYears) != nullptr &&
           X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                                      reinterpret_cast<const unsigned char*>("larkmoor-camera"), -1, -1,
                                      0) == 1 &&
           X509_set_issuer_name(certificate, name) == 1 && AddNames(certificate, address) &&
           X509_set_pubkey(certificate, key) == 1 && X509_sign(certificate, key, EVP_sha256()) != 0;
}

} // namespace

std::unique_ptr<boost::asio::ssl::context> MakeTlsContext(const std::string& address, std::string& error)
{
    const Key key(EVP_EC_gen("P-256"), EVP_PKEY_free);
    const Certificate certificate(X509_new(), X509_free);
    auto context = std::make_unique<boost::asio::ssl::context>(boost::asio::ssl::context::tls_server);
    SSL_CTX* const native = context->native_handle();
    const bool made = key && certificate && FillIn(certificate.get(), key.get(), address) &&
                      SSL_CTX_set_min_proto_version(native, TLS1_2_VERSION) == 1 &&
                      SSL_CTX_use_certificate(native, certificate.get()) == 1 &&
                      SSL_CTX_use_PrivateKey(native, key.get()) == 1;
    if (made)
        return context;
    error = "cannot make a TLS certificate for " + address;
    return nullptr;
}

} // namespace larkmoor::camera
